#include "rules.h"

namespace tools::lint {

namespace {

using enum RuleId;
constexpr Severity kError = Severity::Error;
constexpr Severity kWarning = Severity::Warning;

}  // namespace

const wchar_t* SeverityName(Severity severity) {
    return severity == Severity::Error ? L"error" : L"warning";
}

// In the order of RuleId.
// clang-format off
const std::vector<Rule>& AllRules() {
    static const std::vector<Rule> rules = {
    // documents
    {NotReadable, L"not-readable", kError,
     L"nothing to check: {0}", L""},
    {NotWellFormed, L"not-well-formed", kError,
     L"the XML engine refuses the document: {0}", L"nothing of the document is read until this is mended"},
    {NoRoot, L"no-root", kError,
     L"the top element is <{0}> and not <uninstall_information>",
     L"a catalogue without it stops the host with an access violation, a script without it does nothing"},
    // words
    {UnknownElement, L"unknown-element", kWarning,
     L"<{0}> is not read here", L"{1}"},
    {UnknownAttribute, L"unknown-attribute", kWarning,
     L"nothing reads the attribute {0}", L"{1}"},
    {IgnoredAttribute, L"ignored-attribute", kWarning,
     L"the attribute {0} is not read here: {1}", L"leave it out"},
    {UnknownOperation, L"unknown-operation", kError,
     L"\"{0}\" is no operation", L"{1}"},
    {NoOperation, L"no-operation", kError,
     L"the section has no op_code, so none of its elements is read", L"add op_code with the name of an operation"},
    {MissingAttribute, L"missing-attribute", kError,
     L"the attribute {0} is missing, and nothing is done without it", L"add {0}"},
    {EmptyText, L"empty-text", kError,
     L"the attribute {0} is empty: {1}", L"name what is meant, or leave the element out"},
    {BadValue, L"bad-value", kWarning,
     L"\"{0}\" is no value of {1} and counts as {2}", L"write {3}"},
    {UnknownFolder, L"unknown-folder", kError,
     L"\"{0}\" is no folder name, so the element fails", L"{1}"},
    {FolderCase, L"folder-case", kWarning,
     L"the folder name \"{0}\" is not in lower case{1}", L"write {2}"},
    {UnknownHive, L"unknown-hive", kError,
     L"\"{0}\" does not begin with a hive and a separator, so the key is never found", L"{1}"},
    // the tree of a script
    {NoVersionList, L"no-version-list", kError,
     L"the script has no version_list, so nothing of it is read", L"add a version_list that names the versions"},
    {CommentInVersionList, L"comment-in-version-list", kWarning,
     L"a {0} in version_list is taken for the name of a version", L"put it outside of version_list"},
    {VersionListedTwice, L"version-listed-twice", kWarning,
     L"the version {0} is listed twice and walked twice", L"list it once"},
    {VersionNotThere, L"version-not-there", kWarning,
     L"the version {0} is listed, but there is no element <{0}>", L"{1}"},
    {VersionNotListed, L"version-not-listed", kWarning,
     L"the version {0} is not in version_list, so it is never read", L"list it, or take the element out"},
    {SecondElement, L"second-element", kWarning,
     L"there is another <{0}> here; {1}", L"make them one"},
    {NoSections, L"no-sections", kError,
     L"the version has no win_nt, so nothing of it is read", L"put the sections into <win_nt>"},
    {CommentBetweenSections, L"comment-between-sections", kWarning,
     L"a {0} in win_nt counts as a section that fails; with mandatory_sections=\"all\" the version is then never detected",
     L"put it outside of win_nt"},
    {CommentInSection, L"comment-in-section", kError,
     L"a {0} among the elements ends the section here: it fails, and what follows is not read",
     L"put it outside of win_nt"},
    {SleepElement, L"sleep-element", kWarning,
     L"<sleep> does nothing", L"sleep_after_exec at a library method pauses"},
    {AppPathMissing, L"app-path-missing", kError,
     L"the version has neither app_path nor install_folder, so the folder app_path is unknown here and the element fails",
     L"give the version an app_path or an install_folder"},
    // files and folders
    {RelativePath, L"relative-path", kError,
     L"\"{0}\" has no folder of its own: it would be looked for below the current folder of the host",
     L"name its folder with {1}, or write the whole path"},
    {EnvironmentText, L"environment-text", kWarning,
     L"\"{0}\" is taken as it stands: environment names are not expanded here",
     L"use a folder name of the vocabulary; only the path of a tool or library is expanded"},
    {TrailingSeparator, L"trailing-separator", kWarning,
     L"\"{0}\" ends in a separator: detection never finds it", L"take the separator off"},
    {ParentFolder, L"parent-folder", kWarning,
     L"\"{0}\" climbs out of its folder with \"..\"", L"name the folder that is meant"},
    {Wildcard, L"wildcard", kError,
     L"\"{0}\" is no pattern here: nothing bears such a name",
     L"name each thing; only the name of a del_regvalue is a pattern"},
    {TooLong, L"too-long", kError,
     L"the path has {0} characters on a usual system; the library takes 259 at most", L"name a folder above it"},
    {ProtectedRoot, L"protected-root", kError,
     L"this would delete {0}, which the system lives in", L"name what belongs to the product alone"},
    {UnanchoredAppPath, L"unanchored-app-path", kWarning,
     L"the folder app_path is deleted with everything in it, whatever the registry value holds, and nothing in the "
     L"version says what must lie in it",
     L"delete by names below app_path, or name a file of the product in it in another section"},
    // processes, services, restart
    {ProcessName, L"process-name", kWarning,
     L"no process is called \"{0}\": the file name alone is compared, with its extension", L"write {1}"},
    {SystemProcess, L"system-process", kError,
     L"\"{0}\" is a process of the system", L"name processes of the product only"},
    {SystemService, L"system-service", kError,
     L"\"{0}\" is a service of the system", L"name services of the product only"},
    {RestartRequired, L"restart-required", kWarning,
     L"restart_required=\"{0}\" {1}", L"{2}"},
    // registry
    {DataStrEmptyPiece, L"data-str-empty-piece", kError,
     L"data_str has an empty text in it, and every value contains an empty text: the first key with a text value goes",
     L"write the texts with a single \";\" between them and none at the end"},
    {DataStrPlace, L"data-str-place", kWarning,
     L"\"{0}\" is another path on the other kind of system", L"search for the part behind it: \"{1}\""},
    {SearchNeverRuns, L"search-never-runs", kError,
     L"a search with data_str runs only in a document that also deletes a key or value without data_str, and this one "
     L"does not",
     L"add a del_regkey or del_regvalue of the product"},
    {ViewLost, L"view-lost", kError,
     L"the 32-bit view of this key is lost on a 64-bit system: the same key of the other view, sorted right before it, "
     L"swallows it",
     L"write the hive of one of the two by its other name: {0}"},
    {ValuePattern, L"value-pattern", kError,
     L"\"{0}\" has a star inside only, and such a name is refused", L"a star stands at the start, at the end or at both"},
    // detection
    {AlwaysDetected, L"always-detected", kWarning,
     L"{0} passes with nothing found, so the product counts as installed everywhere",
     L"add minimum_score, or mandatory=\"yes\" to an element"},
    {NeverDetected, L"never-detected", kError,
     L"{0}, so this never detects the product", L"{1}"},
    {NotJudged, L"not-judged", kWarning,
     L"detection never judges {0}: {1} has no effect", L"detect by files, folders, keys, values or services"},
    {DataStrNotSearched, L"data-str-not-searched", kWarning,
     L"detection drops the text behind the last \";\", so it searches for nothing and finds every key that can be opened",
     L"put a \";\" behind the last text, in scripts for detection only"},
    {ReversedPattern, L"reversed-pattern", kWarning,
     L"\"{0}\" finds names that {1} the text: detection reads a star at one side the other way round", L"write \"{2}\""},
    {ShortcutInDetection, L"shortcut-in-detection", kWarning,
     L"a del_shortcut that names a folder counts as there when the folder exists, whatever links it holds",
     L"name the .lnk file"},
    // catalogues
    {ProductTwice, L"product-twice", kError,
     L"there are two products \"{0}\": both are listed, a removal finds only the first", L"give each its own name"},
    {NoMark, L"no-mark", kWarning,
     L"{0}, so it never counts as installed", L"give it an id, a prodName or a keypath"},
    {KeypathWithoutKeyvalue, L"keypath-without-keyvalue", kError,
     L"keypath without keyvalue fails the whole catalogue on machines where prodName is not found",
     L"add keyvalue; an empty one asks for the key alone"},
    {UpdateLocationTwice, L"update-location-twice", kWarning,
     L"\\UpdateLocation is put behind every keypath and stands here already", L"name the key above it"},
    {ProdNameTooLong, L"prodname-too-long", kError,
     L"prodName has {0} characters; display names above 126 are not read", L"use id or keypath"},
    {CommentInProduct, L"comment-in-product", kError,
     L"a {0} inside a product counts as a version without a name and fails the whole catalogue",
     L"put it between products"},
    {CommentInVersion, L"comment-in-version", kWarning,
     L"a {0} inside a version is handed to hosts as a parameter named #{0}", L"put it between products"},
    // product folders
    {MissingScript, L"missing-script", kWarning,
     L"there is no script {0}", L"{1}"},
    {UnusedScript, L"unused-script", kWarning,
     L"no product of the catalogue names this script", L"name it in the catalogue, or take it out"},
    {EntryOf32BitInstaller, L"entry-of-32-bit-installer", kWarning,
     L"the key {0} is deleted in the 32-bit view alone, so a 32-bit installer writes it; a 64-bit system then never "
     L"finds the product, as products.xml looks in the 64-bit view",
     L"describe the product in detection.xml, which looks in both views"},
    {DetectedNotRemoved, L"detected-not-removed", kWarning,
     L"the product is detected by {0}, which {1} does not remove",
     L"remove it as well, else the product still counts as installed afterwards"},
    {RemovedNotDetected, L"removed-not-detected", kWarning,
     L"nothing of the version {0} is what a product of the catalogues is detected by",
     L"describe the product in a catalogue, or take the version out"},
    };
    return rules;
}
// clang-format on

const Rule& RuleOf(RuleId id) {
    return AllRules()[static_cast<std::size_t>(id)];
}

}  // namespace tools::lint
