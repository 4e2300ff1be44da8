#pragma once

#include <string>

namespace tools::host {

// The machine and the account that a plan is for.
struct Machine {
    std::wstring name;
    std::wstring system;  // version of the system
    int views = 1;        // of the registry
    std::wstring account;
    bool isSystemAccount = false;
    std::wstring profile;  // folder: what app_data, desktop_folder and the current user's hive lie in
};

Machine ThisMachine();

}  // namespace tools::host
