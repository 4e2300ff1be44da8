#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace preview {

struct RunningProgram {
    DWORD id = 0;
    std::wstring image;  // full path where the system tells it, else the name
};

// The running programs of an image name, compared as a removal does.
std::vector<RunningProgram> ProgramsNamed(const std::wstring& imageName);

}  // namespace preview
