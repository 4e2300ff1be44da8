#include <doctest/doctest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "author/draft/detection.h"
#include "author/draft/difference.h"
#include "author/draft/documents.h"
#include "author/draft/removal.h"
#include "author/draft/uninstall_entry.h"
#include "common/failure.h"
#include "support/temp_folder.h"

using namespace tools::author;

namespace {

constexpr char kHeader64[] =
    "#folder\tapp_data\tC:\\Users\\Ann\\AppData\\Roaming\n#folder\tcommon_desktop_folder\tC:\\Users\\Public\\Desktop\n"
    "#folder\tlocal_app_data\tC:\\Users\\Ann\\AppData\\Local\n#folder\tprogram_files\tC:\\Program Files\n"
    "#folder\tprogram_files_x86\tC:\\Program Files (x86)\n#folder\twindows_folder\tC:\\Windows\n"
    "#folder\twindows_system\tC:\\Windows\\System32\n#folder\twindows_system_x86\tC:\\Windows\\SysWOW64\n"
    "#format\t1\n#system\tx64\n";
constexpr char kHeader32[] =
    "#folder\tprogram_files\tC:\\Program Files\n#folder\tprogram_files_x86\tC:\\Program Files\n#format\t1\n"
    "#system\tx32\n";

std::string Sorted(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    std::sort(lines.begin(), lines.end());
    std::string sorted;
    for (const std::string& line : lines) {
        sorted += line + "\n";
    }
    return sorted;
}

Difference Between(const std::string& before, const std::string& after) {
    const TempFolder folder;
    return ReadDifference(folder.WriteFile(L"before", Sorted(before)), folder.WriteFile(L"after", Sorted(after)));
}

RemovalOptions Options() {
    return {L"Birkenfeld Editor", L"", {}, {L"tool.exe"}};
}

std::string Document(const char* header, const std::string& added, const RemovalOptions& options = Options()) {
    return RemovalText(options.productName, PlanRemoval(Between(header, header + added), options));
}

struct Row {
    std::string title;
    const char* header;
    const char* added;                  // lines of the snapshot after
    std::vector<std::string> wanted;    // in the document
    std::vector<std::string> unwanted;  // nowhere in its elements
};

// The elements alone, without the comments around them.
std::string Elements(const std::string& document) {
    const std::size_t begin = document.find("<win_nt>");
    return document.substr(begin, document.find("</win_nt>") - begin);
}

}  // namespace

TEST_CASE("a difference becomes the least document that spares what others may share") {
    const Row rows[] = {
        {"the topmost new folder, with its programs",
         kHeader64,
         "C:\\Program Files (x86)\\Editor\\\td\nC:\\Program Files (x86)\\Editor\\bin\\\td\n"
         "C:\\Program Files (x86)\\Editor\\bin\\tool.exe\t1\nC:\\Program Files (x86)\\Editor\\edit.exe\t1\n",
         {"<item path=\"program_files_x86\" name=\"Editor\"/>", "<item target_name=\"edit.exe\"/>"},
         {"name=\"Editor\\bin", "tool.exe"}},
        {"a maker's folder goes only when it is empty, a maker's key stays",
         kHeader64,
         "C:\\Program Files\\Birkenfeld\\\td\nC:\\Program Files\\Birkenfeld\\Editor\\\td\n"
         "C:\\Program Files\\Birkenfeld\\Editor\\x.txt\t1\nHKLM\\Software\\Birkenfeld\\\t\n"
         "HKLM\\Software\\Birkenfeld\\Editor\\\t\n",
         {"path=\"program_files\" name=\"#####Birkenfeld\"", "name=\"Birkenfeld\\Editor\"",
          "\"HKEY_LOCAL_MACHINE\\Software\\Birkenfeld\\Editor\""},
         {"Software\\Birkenfeld\"", "name=\"Birkenfeld\""}},
        {"both views of one key, each beyond the other's thinning",
         kHeader64,
         "HKLM\\Software\\Editor\\\t\nHKLM\\Software\\Wow6432Node\\Editor\\\t\n",
         {"<item name=\"HKEY_LOCAL_MACHINE\\Software\\Editor\"/>",
          "<item name=\"HKLM\\Software\\Editor\" x32view=\"true\"/>"},
         {"Wow6432Node"}},
        {"a name that the thinning would take for a part of another",
         kHeader64,
         "HKCU\\Software\\a\\\t\nHKCU\\Software\\a/b\\\t\n",
         {"\"HKEY_CURRENT_USER\\Software\\a\"/>", "\"HKCU\\Software\\a/b\"/>"},
         {}},
        {"a 32-bit system has the 32-bit places",
         kHeader32,
         "C:\\Program Files\\Editor\\\td\nC:\\Program Files\\Editor\\x\t1\nHKCU\\Software\\Editor\\\t\n"
         "HKLM\\Software\\Editor\\\t\n",
         {"path=\"program_files_x86\"", "\"HKLM\\Software\\Editor\" x32view",
          "\"HKEY_CURRENT_USER\\Software\\Editor\"/>"},
         {"HKEY_LOCAL"}},
        {"single things in what was there before",
         kHeader64,
         "C:\\Windows\\System32\\ed.dll\t1\nC:\\Windows\\SysWOW64\\ed32.dll\t1\n"
         "HKCU\\Software\\Classes\\txtfile\\\tEditor\tsz 1\n"
         "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Run\\\tEd\tsz C:\\Windows\\System32\\ed.dll\n",
         {"path=\"windows_system\" name=\"ed.dll\"", "path=\"windows_system_x86\" name=\"ed32.dll\"",
          "key_path=\"HKEY_CURRENT_USER\\Software\\Classes\\txtfile\" name=\"Editor\"",
          "CurrentVersion\\Run\" name=\"Ed\""},
         {"op_code=\"del_regkey\"", "del_folder"}},
        {"shared DLLs: those of the product's folder go by a folder name, all others stay with their files",
         kHeader64,
         "C:\\Program Files (x86)\\Editor\\\td\nC:\\Program Files (x86)\\Editor\\a.dll\t1\n"
         "C:\\Windows\\SysWOW64\\common.dll\t1\n"
         "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs\\\tC:\\Program Files "
         "(x86)\\Editor\\a.dll\tdword 01000000\n"
         "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs\\\tC:\\Windows\\System32\\common.dll\tdword "
         "01000000\n",
         {"rel_name=\"program_files_x86\" name=\"Editor\\a.dll\"", "Stays: counted in SharedDLLs"},
         {"common.dll"}},
        {"places of the installer are nobody's own, its random names nobody's at all",
         kHeader64,
         "C:\\Windows\\Installer\\\td\nC:\\Windows\\Installer\\1a2b.msi\t1\n"
         "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Installer\\\t\n"
         "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\\t\n"
         "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\\t\n"
         "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\Products\\\t\n"
         "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\Products\\"
         "0123456789ABCDEF0123456789ABCDEF\\\t\n"
         "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\{01234567-89ab-cdef-0123-456789abcdef}\\\t\n"
         "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\{01234567-89ab-cdef-0123-"
         "456789abcdef}\\\tWindowsInstaller\tdword 01000000\n",
         {"Products\\0123456789ABCDEF0123456789ABCDEF\"/>", "msiexec /x {01234567-89ab-cdef-0123-456789abcdef}"},
         {"1a2b.msi", "name=\"Installer\"", "CurrentVersion\\Installer\"", "S-1-5-18\\Products\""}},
        {"what the system may have written speaks not of the product",
         kHeader64,
         "HKCU\\Software\\Microsoft\\Cache\\\t\nHKCU\\Software\\Microsoft\\Cache\\\tLast\tsz x\n"
         "HKLM\\System\\CurrentControlSet\\Services\\EdSvc\\\t\n"
         "HKLM\\System\\CurrentControlSet\\Services\\EdSvc\\\tImagePath\tsz x\n"
         "HKLM\\System\\CurrentControlSet\\Services\\EdSvc\\\tType\tdword 10000000\n",
         {"<services op_code=\"disableandstop_service\">", "<item name=\"EdSvc\"/>", "Services\\EdSvc\"/>",
          "may be the system's own"},
         {"Cache"}},
        {"an extension goes while it names the product's handler",
         kHeader64,
         "HKLM\\Software\\Classes\\.bkf\\\t\nHKLM\\Software\\Classes\\.bkf\\\t\tsz Bkf.File\n"
         "HKLM\\Software\\Classes\\Bkf.File\\\t\n",
         {"Classes\\.bkf\" data_str=\"Bkf.File\" complete_str=\"yes\"", "Classes\\Bkf.File\"/>"},
         {}},
        {"a part of another's class goes while it speaks of the product, and an extension never without its handler",
         kHeader64,
         "C:\\Program Files\\Editor\\\td\nHKLM\\Software\\Classes\\.txt\\\t\n"
         "HKLM\\Software\\Classes\\.txt\\OpenWithProgids\\\t\n"
         "HKLM\\Software\\Classes\\.txt\\OpenWithProgids\\\tBkf.File\tsz \n"
         "HKLM\\Software\\Classes\\txtfile\\DefaultIcon\\\t\n"
         "HKLM\\Software\\Classes\\txtfile\\DefaultIcon\\\t\tsz C:\\Program Files\\Editor\\e.exe,0\n",
         {"Classes\\txtfile\\DefaultIcon\" data_str=\"Editor\" complete_str=\"no\"",
          "Classes\\.txt\\OpenWithProgids\" name=\"Bkf.File\""},
         {"name=\"HKEY_LOCAL_MACHINE\\Software\\Classes\\.txt"}},
        {"shortcuts by new targets, all others as files",
         kHeader64,
         "C:\\Program Files\\Ed\\\td\nC:\\Program Files\\Ed\\ed.exe\t1\n"
         "C:\\Users\\Public\\Desktop\\Ed.lnk\t1 2 -> C:\\Program Files\\Ed\\ed.exe\n"
         "C:\\Users\\Public\\Desktop\\Help.lnk\t1 2 -> C:\\Windows\\notepad.exe\n",
         {"rel_shortcut=\"common_desktop_folder\" path=\"\" rel_target=\"program_files\" target_name=\"Ed\\ed.exe\"",
          "path=\"common_desktop_folder\" name=\"Help.lnk\""},
         {"notepad"}},
        {"what no script can say is said in a comment",
         kHeader64,
         "C:\\Users\\Ann\\Documents\\Ed.txt\t1\nC:\\Users\\Bob\\Ed\\\td\nC:\\Windows\\bad`d800\t1\nC:\\Windows\\dot."
         "\t1\n"
         "HKCU\\Software\\Classes\\txtfile\\\ta*b\tsz 1\nHKU\\S-1-5-21-7\\Software\\Ed\\\t\n",
         {"Stays: lies in a profile", "Stays: in the hive of another user", "Stays: has a name"},
         {"<item"}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.title);
        const std::string document = Document(row.header, row.added);
        for (const std::string& wanted : row.wanted) {
            CAPTURE(wanted);
            CHECK(document.find(wanted) != std::string::npos);
        }
        for (const std::string& unwanted : row.unwanted) {
            CAPTURE(unwanted);
            CHECK(Elements(document).find(unwanted) == std::string::npos);
        }
    }
}

TEST_CASE("a maker's level that is the product's alone goes as a whole") {
    RemovalOptions options = Options();
    options.owned = {L"birkenfeld"};
    const std::string document = Document(kHeader64,
                                          "C:\\Program Files\\Birkenfeld\\\td\nC:\\Program Files\\Birkenfeld\\Ed\\\td\n"
                                          "HKLM\\Software\\Birkenfeld\\\t\nHKLM\\Software\\Birkenfeld\\Ed\\\t\n",
                                          options);
    CHECK(document.find("<item path=\"program_files\" name=\"Birkenfeld\"/>") != std::string::npos);
    CHECK(document.find("<item name=\"HKEY_LOCAL_MACHINE\\Software\\Birkenfeld\"/>") != std::string::npos);
}

TEST_CASE("what was there before stays: changed, gone, or come back in other letters") {
    const std::string header = kHeader64;
    const Difference difference = Between(
        header + "C:\\Windows\\Fonts\\\td\nHKLM\\System\\Env\\\t\nHKLM\\System\\Env\\\tPath\tsz a\n",
        header + "C:\\Windows\\fonts\\\td\nHKLM\\System\\Env\\\t\nHKLM\\System\\Env\\\tPath\tsz a;C:\\Editor\n");
    const Removal removal = PlanRemoval(difference, Options());
    CHECK(removal.sections.empty());
    CHECK(removal.kept.size() == 3);
    CHECK_THROWS_AS(Between("#excluded\tC:\\x\t\n" + header, header + "C:\\y\t1\n"), tools::Failure);
}

TEST_CASE("detection asks for more than half of the marks, and the catalogue for the entry of the machine") {
    const Difference difference = Between(
        kHeader64, std::string(kHeader64) +
                       "C:\\Program Files (x86)\\Ed\\\td\nC:\\Program Files (x86)\\Ed\\ed.exe\t1\n"
                       "C:\\Program Files (x86)\\Ed\\x.dat\t1\n"
                       "HKLM\\Software\\Wow6432Node\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Ed\\\t\n"
                       "HKLM\\Software\\Wow6432Node\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Ed\\\tDisplayName\t"
                       "sz Birkenfeld Editor\n");
    const std::string script = DetectionText(PlanDetection(difference, PlanRemoval(difference, Options())));
    CHECK(script.find("<files op_code=\"del_file\" minimum_score=\"2\">") != std::string::npos);
    CHECK(script.find("Uninstall\\Ed\" x32view=\"true\" score=\"2\"/>") != std::string::npos);
    const auto entry = FindUninstallEntry(difference, L"Birkenfeld Editor");
    REQUIRE(entry);
    CHECK(CatalogueText(L"A \"&\" <B>", ScriptFileName(L"A \"&\" <B>"), entry)
              .find("name=\"A &quot;&amp;&quot; &lt;B>\" file=\"a------b.xml\">\n        <version name=\"A "
                    "&quot;&amp;&quot; "
                    "&lt;B>\" id=\"Ed\"/>") != std::string::npos);
}
