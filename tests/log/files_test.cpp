// The file behind the log: opening, handing on, failures.
#include "log/log_fixture.h"

#include <algorithm>

#include <doctest/doctest.h>

#include "support/import_patch.h"

namespace {

using Tree = std::vector<std::wstring>;

constexpr int kLinesPerThread = 5000;

DWORD WINAPI WriteMany(void* parameter) {
    const LogDll& log = *static_cast<const LogDll*>(parameter);
    const int thread = static_cast<int>(::GetCurrentThreadId());
    for (int i = 0; i < kLinesPerThread; ++i) {
        log.Write(4, L"%d %d", thread, i);
    }
    return 0;
}

}  // namespace

TEST_CASE_FIXTURE(OpenLog, "append keeps what the file holds, new empties it once") {
    folder.WriteFile(L"log.txt", "t\ti\tl\tm\tf\told\r\n");
    log.Write(4, L"1");
    CHECK(Texts(path) == "old|1");
    log.LogSetMode(LOG_MODE_NEW);
    log.Write(4, L"2");
    CHECK(Texts(path) == "old|1|2");
    log.LogDeinit();
    log.LogInit();
    log.Write(4, L"3");
    log.LogInit();
    log.Write(4, L"4");
    CHECK(Texts(path) == "3|4");
}

TEST_CASE_FIXTURE(OpenLog, "a full file is handed on, and the oldest one goes") {
    log.LogSetMaxSize(1000);
    log.LogSetDepth(2);
    for (int i = 0; i < 100; ++i) {
        REQUIRE(log.Write(4, L"%03d", i) == S_OK);
    }
    CHECK(folder.Tree() == Tree{L"log.txt", L"log.txt.1", L"log.txt.2"});
    const std::string kept = Texts(path + L".2") + '|' + Texts(path + L".1") + '|' + Texts(path);
    int next =
        100 - static_cast<int>(ReadLog(path + L".2").size() + ReadLog(path + L".1").size() + ReadLog(path).size());
    CHECK(next > 0);
    std::string expected;
    for (; next < 100; ++next) {
        expected += (expected.empty() ? "0" : "|0") + std::to_string(next);
    }
    CHECK(kept == expected);
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    ::GetFileAttributesExW((path + L".1").c_str(), GetFileExInfoStandard, &data);
    CHECK(data.nFileSizeLow <= 1000);
    CHECK(data.nFileSizeLow > 850);

    REQUIRE(log.Write(4, L"%s", std::wstring(5000, L'x').c_str()) == S_OK);
    CHECK(Texts(path) == std::string(5000, 'x'));

    log.LogSetDepth(0);
    REQUIRE(log.Write(4, L"alone") == S_OK);
    CHECK(Texts(path) == "alone");
    CHECK(folder.Tree().size() == 3);
}

// Two copies of the module know as little of each other as two processes do.
TEST_CASE_FIXTURE(OpenLog, "two writers share a file and hand it on together") {
    TempFolder other;
    REQUIRE(::CopyFileW(BuiltLogDll().c_str(), other.Path(L"other.dll").c_str(), TRUE));
    const LogDll second(other.Path(L"other.dll"));
    REQUIRE(second.LogInit() == S_OK);
    REQUIRE(second.LogSetPath(path.c_str()) == S_OK);
    for (const LogDll* const writer : {static_cast<const LogDll*>(&log), &second}) {
        writer->LogSetMaxSize(100'000);
        writer->LogSetDepth(LOG_MAX_DEPTH);
    }
    const HANDLE thread = ::CreateThread(nullptr, 0, &WriteMany, const_cast<LogDll*>(&second), 0, nullptr);
    WriteMany(&log);
    REQUIRE(::WaitForSingleObject(thread, 60'000) == WAIT_OBJECT_0);
    ::CloseHandle(thread);
    std::size_t lines = 0;
    for (const std::wstring& file : folder.Tree()) {
        lines += ReadLog(folder.Path(file)).size();
    }
    CHECK(lines == 2 * kLinesPerThread + 2);
    CHECK(folder.Tree().size() > 2);
}

TEST_CASE_FIXTURE(OpenLog, "lines of several threads are all there and whole") {
    HANDLE threads[4] = {};
    for (HANDLE& thread : threads) {
        thread = ::CreateThread(nullptr, 0, &WriteMany, &log, 0, nullptr);
    }
    REQUIRE(::WaitForMultipleObjects(4, threads, TRUE, 60'000) == WAIT_OBJECT_0);
    std::vector<std::string> texts;
    std::string last;
    bool ascending = true;
    for (const Line& line : ReadLog(path)) {
        texts.push_back(line.text);
        ascending = ascending && line.time >= last;
        last = line.time;
    }
    CHECK(texts.size() == 4 * kLinesPerThread + 1);
    CHECK(ascending);
    std::sort(texts.begin(), texts.end());
    CHECK(std::unique(texts.begin(), texts.end()) == texts.end());
    for (const HANDLE thread : threads) {
        ::CloseHandle(thread);
    }
}

TEST_CASE_FIXTURE(OpenLog, "a file that cannot be opened costs lines, not the caller") {
    const std::wstring below = folder.Path(L"missing\\log.txt");
    log.LogSetPath(below.c_str());
    ::SetLastError(1234);
    for (int i = 0; i < 10; ++i) {
        CHECK(log.Write(4, L"lost") == HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND));
    }
    CHECK(::GetLastError() == 1234);
    folder.MakeFolder(L"missing");
    int lost = 10;
    REQUIRE(Eventually([&] { return log.Write(4, L"found") == S_OK || ++lost < 0; }));
    const std::vector<Line> lines = ReadLog(below);
    REQUIRE(lines.size() == 3);
    CHECK(lines[1].level == "WARNING");
    CHECK(lines[1].text == std::to_string(lost) + " lines before this one could not be written");
    CHECK(lines[2].text == "found");
}

TEST_CASE_FIXTURE(OpenLog, "unloading closes the file, and the module can be loaded again") {
    log.Write(4, L"1");
    CHECK_FALSE(IsClosed(path));
    log.Unload();
    CHECK(IsClosed(path));
    LogDll again;
    CHECK(again.Write(4, L"unheld") == HRESULT_FROM_WIN32(ERROR_NOT_READY));
    REQUIRE(again.LogInit() == S_OK);
    again.LogSetPath(path.c_str());
    CHECK(again.Write(4, L"2") == S_OK);
    CHECK(Texts(path) == "1|2");
}
