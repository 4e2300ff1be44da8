#include <windows.h>
#include <doctest/doctest.h>

#include "product.h"

namespace {

std::size_t HeapBytes() {
    std::size_t bytes = 0;
    PROCESS_HEAP_ENTRY entry = {};
    while (::HeapWalk(::GetProcessHeap(), &entry)) {
        bytes += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? entry.cbData : 0;
    }
    return bytes;
}

}  // namespace

TEST_CASE("a host may load and unload the library time and again") {
    const ProductFolder folder;
    ::DeleteFileW(folder.Path(L"log.dll").c_str());
    const auto load = [&] { folder.Load(); };
    for (int warm = 0; warm < 5; ++warm) {
        load();
    }
    const std::size_t before = HeapBytes();
    for (int round = 0; round < 10; ++round) {
        load();
    }
    CHECK(HeapBytes() < before + 10 * 1024);  // what the runtime keeps for exceptions alone is twice that each time
}
