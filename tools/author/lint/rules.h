#pragma once

#include <string>
#include <vector>

namespace tools::lint {

enum class Severity { Error, Warning };

const wchar_t* SeverityName(Severity severity);

enum class RuleId {
    // documents
    NotReadable,
    NotWellFormed,
    NoRoot,
    // words
    UnknownElement,
    UnknownAttribute,
    IgnoredAttribute,
    UnknownOperation,
    NoOperation,
    MissingAttribute,
    EmptyText,
    BadValue,
    UnknownFolder,
    FolderCase,
    UnknownHive,
    // the tree of a script
    NoVersionList,
    CommentInVersionList,
    VersionListedTwice,
    VersionNotThere,
    VersionNotListed,
    SecondElement,
    NoSections,
    CommentBetweenSections,
    CommentInSection,
    SleepElement,
    AppPathMissing,
    // files and folders
    RelativePath,
    EnvironmentText,
    TrailingSeparator,
    ParentFolder,
    Wildcard,
    TooLong,
    ProtectedRoot,
    UnanchoredAppPath,
    // processes, services, restart
    ProcessName,
    SystemProcess,
    SystemService,
    RestartRequired,
    // registry
    DataStrEmptyPiece,
    DataStrPlace,
    SearchNeverRuns,
    ViewLost,
    ValuePattern,
    // detection
    AlwaysDetected,
    NeverDetected,
    NotJudged,
    DataStrNotSearched,
    ReversedPattern,
    ShortcutInDetection,
    // catalogues
    ProductTwice,
    NoMark,
    KeypathWithoutKeyvalue,
    UpdateLocationTwice,
    ProdNameTooLong,
    CommentInProduct,
    CommentInVersion,
    // product folders
    MissingScript,
    UnusedScript,
    EntryOf32BitInstaller,
    DetectedNotRemoved,
    RemovedNotDetected,
};

// What a rule is called and says. Sentence and hint take the details of a finding in place of {0}, {1}, ...
struct Rule {
    RuleId id;
    const wchar_t* code;
    Severity severity;
    const wchar_t* sentence;
    const wchar_t* hint;
};

const std::vector<Rule>& AllRules();
const Rule& RuleOf(RuleId id);

}  // namespace tools::lint
