// Rules about documents that belong together: catalogues, scripts and the removal document.

#include "rules_folder.h"

#include <algorithm>

#include "files.h"
#include "foundation/text.h"
#include "judge.h"
#include "places.h"
#include "script/vocabulary.h"
#include "things.h"

namespace tools::lint {

namespace {

constexpr wchar_t kUninstall[] = L"HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\";

const wchar_t* ScriptFolder(CatalogueKind kind) {
    return kind == CatalogueKind::Family ? L"intern" : L"extern";
}

template <typename Visit>
void ForEachProduct(const Catalogue& catalogue, const Visit& visit) {
    for (const Node& product : catalogue.document->Top().children) {
        if (product.IsElement(L"product")) {
            visit(product);
        }
    }
}

template <typename Visit>
void ForEachVersion(const Suite& suite, const Visit& visit) {
    for (const Catalogue& catalogue : suite.catalogues) {
        ForEachProduct(catalogue, [&](const Node& product) {
            for (const Node& version : product.children) {
                visit(catalogue, version);
            }
        });
    }
}

void CheckMissingScript(const Suite& suite, Report& report) {
    for (const Catalogue& catalogue : suite.catalogues) {
        const std::wstring folder = FolderOf(catalogue.document->Name());
        if (folder != suite.folder) {
            continue;
        }
        ForEachProduct(catalogue, [&](const Node& product) {
            const std::wstring* const file = product.Find(L"file");
            const std::wstring name =
                ScriptFolder(catalogue.kind) + std::wstring(L"\\") + (file != nullptr ? *file : L"");
            if (file != nullptr && !file->empty() && !IsFile(folder + L"\\" + name)) {
                report.Add(RuleId::MissingScript, *catalogue.document, product, L"file",
                           {name, product.children.empty() ? L"nothing detects the product without it"
                                                           : L"only its marks detect the product without it"});
            }
        });
    }
}

void CheckUnusedScript(const Suite& suite, Report& report) {
    for (const Script* const script : suite.scripts) {
        const std::wstring& path = script->document.Name();
        const std::wstring folder = FolderOf(path);
        bool used = FolderOf(folder) != suite.folder;
        for (const Catalogue& catalogue : suite.catalogues) {
            const bool theirs = FolderOf(catalogue.document->Name()) == FolderOf(folder) &&
                                EqualsBlind(FileName(folder), ScriptFolder(catalogue.kind));
            ForEachProduct(catalogue, [&](const Node& product) {
                const std::wstring* const file = product.Find(L"file");
                used = used || (theirs && file != nullptr && LowerCase(*file) == LowerCase(FileName(path)));
            });
        }
        if (!used) {
            report.Add(RuleId::UnusedScript, script->document, script->root);
        }
    }
}

// The views in which scripts and removals delete a key as it stands: first the system's own, then the 32-bit one.
std::pair<bool, bool> ViewsOf(const Suite& suite, const std::wstring& key) {
    std::pair<bool, bool> views;
    for (const auto* const scripts : {&suite.scripts, &suite.removals}) {
        for (const Script* const script : *scripts) {
            script->ForEachElement([&](const Element& element) {
                const Thing thing = ThingOf(element);
                if (thing.kind == Thing::Kind::Key && EqualsBlind(thing.places[0], key)) {
                    (thing.x32view ? views.second : views.first) = true;
                }
            });
        }
    }
    return views;
}

void CheckEntryOf32BitInstaller(const Suite& suite, Report& report) {
    ForEachVersion(suite, [&](const Catalogue& catalogue, const Node& version) {
        const std::wstring* const id = version.Find(L"id");
        if (catalogue.kind != CatalogueKind::Family || id == nullptr) {
            return;
        }
        const auto [native, x32] = ViewsOf(suite, kUninstall + *id);
        if (x32 && !native) {
            report.Add(RuleId::EntryOf32BitInstaller, *catalogue.document, version, L"id", {kUninstall + *id});
        }
    });
}

// What removals take, and in which document.
struct Removed {
    std::vector<Thing> things;
    std::wstring document;

    bool Takes(const Thing& thing) const {
        return std::any_of(things.begin(), things.end(), [&thing](const Thing& taken) { return taken.Takes(thing); });
    }
};

std::vector<Thing> ThingsOf(const Version& version) {
    std::vector<Thing> things;
    for (const Section& section : version.sections) {
        std::transform(section.elements.begin(), section.elements.end(), std::back_inserter(things), ThingOf);
    }
    return things;
}

Removed WhatIsRemoved(const Suite& suite) {
    Removed removed;
    for (const Script* const script : suite.removals) {
        for (const Version& version : script->versions) {
            const std::vector<Thing> things = version.walked ? ThingsOf(version) : std::vector<Thing>();
            removed.things.insert(removed.things.end(), things.begin(), things.end());
            removed.document = things.empty() ? removed.document : script->document.Name();
        }
    }
    return removed;
}

// The key of a catalogue's mark; empty for a product that is looked for by its display name.
std::wstring MarkOf(const Node& version) {
    if (const std::wstring* const id = version.Find(L"id")) {
        return kUninstall + *id;
    }
    const std::wstring* const keypath = version.Find(L"keypath");
    const std::wstring key = keypath != nullptr ? KeyOf(*keypath) : L"";
    return key.empty() ? key : key + L"\\UpdateLocation";
}

void CheckDetectedNotRemoved(const Suite& suite, Report& report) {
    const Removed removed = WhatIsRemoved(suite);
    if (removed.things.empty()) {
        return;
    }
    ForEachVersion(suite, [&](const Catalogue& catalogue, const Node& version) {
        Thing mark = KeyThing(MarkOf(version));
        const bool native = mark.places[0].empty() || removed.Takes(mark);
        mark.x32view = true;
        if (!native && !removed.Takes(mark)) {
            report.Add(RuleId::DetectedNotRemoved, *catalogue.document, version, {mark.Words(), removed.document});
        }
    });
    const auto isLeft = [&removed](const Element& element) { return !removed.Takes(ThingOf(element)); };
    for (const Script* const script : suite.scripts) {
        for (const Version& version : script->versions) {
            const Element* const left = version.walked ? StillDetectedBy(version, isLeft) : nullptr;
            if (left != nullptr) {
                report.Add(RuleId::DetectedNotRemoved, script->document, *left->node,
                           {ThingOf(*left).Words(), removed.document});
            }
        }
    }
}

// What products are detected by. Empty if some product is looked for by its display name alone, which names nothing
// that could be compared.
std::vector<Thing> WhatIsDetected(const Suite& suite) {
    std::vector<Thing> things;
    for (const Script* const script : suite.scripts) {
        for (const Version& version : script->versions) {
            const std::vector<Thing> named = ThingsOf(version);
            std::copy_if(named.begin(), named.end(), std::back_inserter(things),
                         [](const Thing& thing) { return thing.kind != Thing::Kind::Unknown; });
        }
    }
    bool onlyByName = false;
    ForEachVersion(suite, [&](const Catalogue&, const Node& version) {
        const std::wstring mark = MarkOf(version);
        if (!mark.empty()) {
            things.push_back(KeyThing(mark));
        }
        onlyByName = onlyByName || (mark.empty() && version.Find(L"prodName") != nullptr);
    });
    return onlyByName && suite.scripts.empty() ? std::vector<Thing>() : things;
}

void CheckRemovedNotDetected(const Suite& suite, Report& report) {
    std::vector<Thing> detected = WhatIsDetected(suite);
    if (detected.empty()) {
        return;
    }
    for (Thing& thing : detected) {
        thing.x32view = false;  // either view will do
    }
    for (const Script* const script : suite.removals) {
        for (const Version& version : script->versions) {
            Removed removed{ThingsOf(version), {}};
            for (Thing& thing : removed.things) {
                thing.x32view = false;
            }
            const bool related = std::any_of(detected.begin(), detected.end(),
                                             [&removed](const Thing& thing) { return removed.Takes(thing); });
            if (version.walked && !removed.things.empty() && !related) {
                report.Add(RuleId::RemovedNotDetected, script->document, *version.node, {version.node->name});
            }
        }
    }
}

}  // namespace

void Suite::Add(const Suite& other) {
    catalogues.insert(catalogues.end(), other.catalogues.begin(), other.catalogues.end());
    scripts.insert(scripts.end(), other.scripts.begin(), other.scripts.end());
    removals.insert(removals.end(), other.removals.begin(), other.removals.end());
}

void CheckSuite(const Suite& suite, Report& report) {
    CheckMissingScript(suite, report);
    CheckUnusedScript(suite, report);
    CheckEntryOf32BitInstaller(suite, report);
    CheckDetectedNotRemoved(suite, report);
    CheckRemovedNotDetected(suite, report);
}

}  // namespace tools::lint
