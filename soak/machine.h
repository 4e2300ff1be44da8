#pragma once

#include <windows.h>

#include <map>
#include <string>
#include <vector>

#include "foundation/owned.h"

// What a machine is made of. As text a thing is one line: the kind and its words, parted by tabs.
//
//   folder PATH ATTRIBUTES           file PATH ATTRIBUTES
//   unix PATH                        a file whose name the system would take for another one's
//   link PATH TARGET                 a Unix link to a folder
//   shortcut PATH TARGET
//   key VIEW PATH                    VIEW is 0, 32 or 64
//   value VIEW KEY NAME TYPE DATA    TYPE is a REG_ number; data of texts is text, else a number
//   program PATH                     a running program, whose file cannot be deleted
//   hold FILE SHARE HOLDER           SHARE is FILE_SHARE_; HOLDER the path of a program above, or empty for a stranger
//
// Paths may begin with a folder's name in braces. Holders come after what they hold.
struct Thing {
    std::wstring kind;
    std::vector<std::wstring> words;

    // Words that a line leaves out are empty.
    std::wstring Word(std::size_t index) const { return index < words.size() ? words[index] : std::wstring(); }
};

using Things = std::vector<Thing>;

std::string ToText(const Things& things);
Things ThingsFromText(const std::string& text);

// A program that holds files open, from its start to its end.
class Holder {
public:
    // Returns when the files are open; an exception if it does not come that far.
    Holder(const std::wstring& image, const std::vector<std::pair<std::wstring, DWORD>>& files);
    ~Holder();
    Holder(Holder&&) noexcept = default;
    Holder& operator=(Holder&&) noexcept = default;
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

    bool Runs() const { return ::WaitForSingleObject(m_process.Get(), 0) == WAIT_TIMEOUT; }
    const std::wstring& Image() const { return m_image; }

private:
    std::wstring m_image;
    OwnedHandle m_process;
    OwnedHandle m_end;
};

// The things as they stand on this machine, from the constructor on; EndHolders lets go of what is held.
class Machine {
public:
    explicit Machine(const Things& things);

    // Links to folders and what they lead to.
    const std::map<std::wstring, std::wstring>& Links() const { return m_links; }
    // Files that are held, with the share mode.
    const std::map<std::wstring, DWORD>& Held() const { return m_held; }
    const std::vector<Holder>& Holders() const { return m_holders; }
    void EndHolders() { m_holders.clear(); }

private:
    void Make(const Thing& thing);
    void StartHolders(const Things& things);

    std::map<std::wstring, std::wstring> m_links;
    std::map<std::wstring, DWORD> m_held;
    std::vector<Holder> m_holders;
    std::string m_unixScript;
};

// Runs a shell script of the Unix side to its end, in the folder of drive C.
void RunUnixScript(const std::string& script);
// Path of the Unix side below that folder, quoted for the shell.
std::string UnixPath(const std::wstring& path);

struct MachineState;

// Takes everything off that stands on the machine now and did not in `base`.
void Clean(const MachineState& base, const MachineState& now);
