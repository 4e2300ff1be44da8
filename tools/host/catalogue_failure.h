#pragma once

#include <prodrm.h>

#include <string>

namespace tools::host {

// Why a catalogue that the library could not load cannot be read: it is missing, not well-formed, or refused by a rule.
std::wstring CatalogueTrouble(const std::wstring& file, UninstallType type);

}  // namespace tools::host
