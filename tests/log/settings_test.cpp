// The settings file.
#include "log/log_fixture.h"

#include <doctest/doctest.h>

TEST_CASE_FIXTURE(OpenLog, "a settings file sets what it names, or nothing at all") {
    const std::wstring settings = folder.WriteFile(L"set.ini",
                                                   "[log]\r\nlevel = Warning\r\npath = %PRODRM_TEST%\\b.txt\r\n"
                                                   "max_size = 0x190\r\ndepth = 1\r\n[other]\r\nenabled=0\r\n");
    ::SetEnvironmentVariableW(L"PRODRM_TEST", folder.Path().c_str());
    CHECK(log.LogSetSettingsFile(settings.c_str()) == S_OK);
    CHECK(log.LogApplySettings() == S_OK);
    CHECK(log.LogGetLevel() == LOG_LEVEL_WARNING);
    for (int i = 0; i < 30; ++i) {
        CHECK(log.Write(8, L"line") == S_OK);
    }
    CHECK(folder.Tree() == std::vector<std::wstring>{L"b.txt", L"b.txt.1", L"set.ini"});

    for (const char* const wrong : {"level=16x", "level=loud", "depth=100", "type=4", "mode=2", "enabled=-1"}) {
        CAPTURE(wrong);
        folder.WriteFile(L"set.ini", std::string("[log]\r\n") + wrong + "\r\nlevel=4\r\n");
        CHECK(log.LogApplySettings() == HRESULT_FROM_WIN32(ERROR_INVALID_DATA));
        CHECK(log.LogGetLevel() == LOG_LEVEL_WARNING);
    }
}

TEST_CASE_FIXTURE(OpenLog, "a monitored settings file is read again once it has changed") {
    log.LogSetSettingsFile(folder.WriteFile(L"set.ini", "[log]\r\nlevel=8\r\n").c_str());
    log.Write(4, L"not monitored");
    CHECK(log.LogGetLevel() == LOG_LEVEL_NOTICE);
    log.LogMonitorSettings(TRUE);
    CHECK(Eventually([&] { return log.Write(4, L"-") == S_OK && log.LogGetLevel() == 8; }));
    folder.WriteFile(L"set.ini", "[log]\r\nlevel=info\r\n");
    CHECK(Eventually([&] { return log.Write(4, L"-") == S_OK && log.LogGetLevel() == LOG_LEVEL_INFO; }));
}
