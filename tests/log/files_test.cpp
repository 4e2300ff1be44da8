// The file behind the log: opening, handing on, failures.
#include "log/log_fixture.h"

#include <set>

#include <doctest/doctest.h>

namespace {

constexpr int kLinesPerThread = 3000;

DWORD WINAPI WriteMany(void* log) {
    for (int i = 0; i < kLinesPerThread; ++i) {
        static_cast<const LogDll*>(log)->Write(4, L"%d %d", ::GetCurrentThreadId(), i);
    }
    return 0;
}

}  // namespace

TEST_CASE_FIXTURE(OpenLog, "append keeps what the file holds, new empties it once") {
    folder.WriteFile(L"log.txt", "t\ti\tl\tm\tf\told\r\n");
    log.Write(4, L"1");
    log.LogSetMode(LOG_MODE_NEW);
    log.Write(4, L"2");
    CHECK(Texts(path) == "old|1|2");
    log.LogDeinit();
    CHECK(log.Write(4, L"unheld") == HRESULT_FROM_WIN32(ERROR_NOT_READY));
    log.LogInit();
    log.Write(4, L"3");
    log.LogInit();
    log.Write(4, L"4");
    CHECK(Texts(path) == "3|4");
}

TEST_CASE_FIXTURE(OpenLog, "a full file is handed on, and the oldest one goes") {
    log.LogSetMaxSize(1000);
    log.LogSetDepth(2);
    std::string written;
    for (int i = 0; i < 100; ++i) {
        REQUIRE(log.Write(4, L"%d", i) == S_OK);
        written += '|' + std::to_string(i);
    }
    CHECK(folder.Tree() == std::vector<std::wstring>{L"log.txt", L"log.txt.1", L"log.txt.2"});
    CHECK(written.ends_with('|' + Texts(path + L".2") + '|' + Texts(path + L".1") + '|' + Texts(path)));
    CHECK(FileContent(path + L".1").size() <= 1000);

    REQUIRE(log.Write(4, L"%s", std::wstring(5000, L'x').c_str()) == S_OK);
    CHECK(Texts(path) == std::string(5000, 'x'));
    log.LogSetDepth(0);
    REQUIRE(log.Write(4, L"alone") == S_OK);
    CHECK(Texts(path) == "alone");
    CHECK(folder.Tree().size() == 3);
}

// Two copies of the module know as little of each other as two processes do.
TEST_CASE_FIXTURE(OpenLog, "threads of two writers share a file and hand it on together, and no line is lost") {
    TempFolder other;
    REQUIRE(::CopyFileW(InProduct(L"log.dll").c_str(), other.Path(L"other.dll").c_str(), TRUE));
    LogDll second(other.Path(L"other.dll"));
    REQUIRE(second.LogInit() == S_OK);
    REQUIRE(second.LogSetPath(path.c_str()) == S_OK);
    std::vector<OwnedHandle> threads;
    for (LogDll* const writer : {&log, &second, &log, &second}) {
        writer->LogSetMaxSize(100'000);
        writer->LogSetDepth(LOG_MAX_DEPTH);
        threads.emplace_back(::CreateThread(nullptr, 0, &WriteMany, writer, 0, nullptr));
    }
    for (const OwnedHandle& thread : threads) {
        REQUIRE(::WaitForSingleObject(thread.Get(), 60'000) == WAIT_OBJECT_0);
    }
    std::set<std::string> texts;
    for (const std::wstring& file : folder.Tree()) {
        for (const Line& line : ReadLog(folder.Path(file))) {
            texts.insert(line.text);
        }
    }
    CHECK(texts.size() == 4 * kLinesPerThread + 1);  // one tells who opened the file
    CHECK(folder.Tree().size() > 2);
}

TEST_CASE_FIXTURE(OpenLog, "a file that cannot be opened costs lines, not the caller") {
    const std::wstring below = folder.Path(L"missing\\log.txt");
    log.LogSetPath(below.c_str());
    CHECK(log.Write(4, L"lost") == HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND));
    folder.MakeFolder(L"missing");
    int lost = 1;
    REQUIRE(Eventually([&] { return log.Write(4, L"found") == S_OK || ++lost < 0; }));
    const std::vector<Line> lines = ReadLog(below);
    REQUIRE(lines.size() == 3);
    CHECK(lines[1].text == std::to_string(lost) + " lines before this one could not be written");
    CHECK(lines[2].text == "found");
}

TEST_CASE_FIXTURE(OpenLog, "unloading closes the file") {
    log.Write(4, L"1");
    CHECK_FALSE(HoldFile(path));
    log.module.Reset();
    CHECK(HoldFile(path));
}
