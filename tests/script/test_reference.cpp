// The examples of docs/script-reference.md, run by the processors that they are written for.

#include <windows.h>
#include <doctest/doctest.h>

#include <cstdio>

#include "script/machine.h"
#include "script/processors.h"
#include "support/programs.h"

TEST_CASE("every example of the script reference does what is said below it") {
    const std::string text = FileContent(InSources(L"docs\\script-reference.md"));
    const std::string opening = "```xml\n";
    Machine machine;
    int examples = 0;
    for (std::size_t at = 0; (at = text.find(opening, at)) != std::string::npos; ++examples) {
        at += opening.size();
        const std::size_t end = text.find("```\n", at);
        const std::string example = text.substr(at, end - at);
        char answer[4] = {};
        unsigned operations = 0;
        REQUIRE(std::sscanf(text.c_str() + end,
                            "```\n\n*On a bare machine detection says %3[a-z], and a removal collects %u operations.*",
                            answer, &operations) == 2);
        INFO(example);
        const std::wstring script(example.begin(), example.end());
        CHECK(machine.Judge(script) == (std::string(answer) == "yes"));
        Embed(script);
        Removal removal;
        CHECK(removal.Process());
        CHECK(removal.Records().size() == operations);
    }
    CHECK(examples == 4);
}
