#include "author/compare/compare.h"

#include "author/compare/merge.h"
#include "common/output.h"
#include "common/utf8.h"

namespace tools::author {

namespace {

constexpr std::size_t kPieceBytes = 64 * 1024;

}  // namespace

DifferenceCounts WriteDifferences(const std::wstring& before, const std::wstring& after, Output& out) {
    DifferenceCounts counts;
    std::string text;
    const auto add = [&text](std::initializer_list<std::string_view> parts) {
        for (const std::string_view part : parts) {
            text += part;
        }
        text += '\n';
    };
    Merge merge(before, after);
    while (merge.Step()) {
        const auto& [identity, facts] = merge.Line();
        switch (merge.What()) {
            case Merge::Kind::New:
                ++counts.added;
                add({"new\t", identity, "\t", facts});
                break;
            case Merge::Kind::Gone:
                ++counts.gone;
                add({"gone\t", identity, "\t", facts});
                break;
            case Merge::Kind::Changed:
                ++counts.changed;
                add({"changed\t", identity, "\t", merge.OldFacts(), "\t", facts});
                break;
        }
        if (text.size() >= kPieceBytes) {
            out.Write(FromUtf8(text));
            text.clear();
        }
    }
    out.Write(FromUtf8(text));
    return counts;
}

}  // namespace tools::author
