#include "author/snapshot/exclusions.h"

namespace tools::author {

std::string_view Exclusions::Default() {
    return R"(# The folder for this tool and its snapshots, and what the system writes all the time. A star stands for any characters within one name; <name> is a folder name of
# the scripts; a value follows its key behind a tab.
*:\prodrm-author
*:\$Recycle.Bin
*:\RECYCLER
*:\System Volume Information
*:\hiberfil.sys
*:\pagefile.sys
*:\swapfile.sys
<windows_folder>\Logs
<windows_folder>\Prefetch
<windows_folder>\ServiceProfiles
<windows_folder>\SoftwareDistribution
<windows_folder>\Temp
<windows_folder>\WinSxS
<windows_folder>\appcompat
<windows_folder>\bootstat.dat
<windows_folder>\rescache
<windows_system>\LogFiles
<windows_system>\catroot2
<windows_system>\config
<windows_system>\sru
<windows_system>\wbem\Repository
<windows_system>\wdi
<windows_system>\winevt
<common_app_data>\Microsoft\Diagnosis
<common_app_data>\Microsoft\Search
<common_app_data>\Microsoft\Windows Defender
<common_app_data>\Microsoft\Windows\WER
<common_app_data>\USOPrivate
<common_app_data>\USOShared
*:\Users\*\NTUSER.DAT*
*:\Users\*\AppData\Local\Temp
*:\Users\*\AppData\Local\Microsoft\Windows\INetCache
*:\Users\*\AppData\Local\Microsoft\Windows\Explorer
*:\Users\*\AppData\Local\Microsoft\Windows\UsrClass.dat*
*:\Users\*\AppData\Local\Microsoft\Windows\WebCache
*:\Users\*\AppData\Roaming\Microsoft\Windows\Recent
*:\Users\*\Temp
*:\Documents and Settings\*\Local Settings\Temp
*:\Documents and Settings\*\NTUSER.DAT*
*:\Documents and Settings\*\Recent
# Made anew at each start, closed to everyone, or the same as another branch.
HKLM\BCD00000000
HKLM\COMPONENTS
HKLM\HARDWARE
HKLM\SAM
HKLM\SECURITY
HKLM\SYSTEM\ControlSet*
HKU\*_Classes
HKU\S-1-5-18
HKU\*\Volatile Environment
HKCU\Volatile Environment
HKLM\SOFTWARE\Microsoft\Cryptography\RNG
HKLM\SOFTWARE\Microsoft\Reliability Analysis
HKLM\SOFTWARE\Microsoft\Windows NT\CurrentVersion\Notifications
HKLM\SOFTWARE\Microsoft\Windows NT\CurrentVersion\Perflib
HKLM\SOFTWARE\Microsoft\Windows NT\CurrentVersion\Prefetcher
HKLM\SOFTWARE\Microsoft\Windows NT\CurrentVersion\Schedule\TaskCache
HKLM\SOFTWARE\Microsoft\Windows Search
HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Diagnostics
HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Group Policy
HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\WindowsUpdate
HKLM\SYSTEM\CurrentControlSet\Control\DeviceClasses
HKLM\SYSTEM\CurrentControlSet\Control\ServiceCurrent
HKLM\SYSTEM\CurrentControlSet\Control\Session Manager	PendingFileRenameOperations
HKLM\SYSTEM\CurrentControlSet\Control\Session Manager\Memory Management\PrefetchParameters
HKLM\SYSTEM\CurrentControlSet\Control\Video
HKLM\SYSTEM\CurrentControlSet\Control\WMI
HKLM\SYSTEM\CurrentControlSet\Control\hivelist
HKLM\SYSTEM\CurrentControlSet\Enum
HKLM\SYSTEM\CurrentControlSet\Services\bam
HKLM\SYSTEM\CurrentControlSet\Services\Tcpip\Parameters\Interfaces
HKLM\SYSTEM\CurrentControlSet\Services\W32Time
HKCU\SessionInformation
HKCU\Software\Microsoft\Internet Explorer\TypedURLs
HKCU\Software\Microsoft\Windows\CurrentVersion\Explorer\ComDlg32
HKCU\Software\Microsoft\Windows\CurrentVersion\Explorer\MountPoints2
HKCU\Software\Microsoft\Windows\CurrentVersion\Explorer\RecentDocs
HKCU\Software\Microsoft\Windows\CurrentVersion\Explorer\RunMRU
HKCU\Software\Microsoft\Windows\CurrentVersion\Explorer\SessionInfo
HKCU\Software\Microsoft\Windows\CurrentVersion\Explorer\UserAssist
HKCU\Software\Microsoft\Windows\CurrentVersion\Search
HKCU\Software\Microsoft\Windows\Shell\Bag*
HKCU\Software\Microsoft\Windows\ShellNoRoam
HKCU\Software\Classes\Local Settings
)";
}

}  // namespace tools::author
