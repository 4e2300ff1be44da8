#include "verify.h"

#include <windows.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "common/failure.h"
#include "common/json.h"
#include "common/text.h"
#include "evidence.h"
#include "foundation/owned.h"
#include "look.h"
#include "pending_deletions.h"
#include "plan_summary.h"
#include "preview/findings_places.h"

namespace tools::host {

namespace {

using preview::ItemKind;

std::string ReadFile(const std::wstring& path) {
    const OwnedFileHandle file(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                             FILE_ATTRIBUTE_NORMAL, nullptr));
    std::string bytes(file ? ::GetFileSize(file.Get(), nullptr) : 0, '\0');
    DWORD read = 0;
    if (!file || !::ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr)) {
        throw SystemFailure(L"cannot read the receipt", path);
    }
    bytes.resize(read);
    return bytes;
}

Json ReadReceipt(const std::wstring& path) {
    Json receipt = Json::parse(ReadFile(path), nullptr, false);
    if (receipt.is_discarded() || !receipt.is_object() || receipt.value("format", 0) != 1 ||
        !receipt.contains("items") || !receipt.contains("outcome")) {
        throw Failure(ERROR_INSTALL_FAILURE, Quoted(path) + L" is no receipt of a removal");
    }
    return receipt;
}

ItemKind KindOf(const std::string& name) {
    for (auto kind = static_cast<std::size_t>(ItemKind::File); kind <= static_cast<std::size_t>(ItemKind::RestartEntry);
         ++kind) {
        if (name == NameOf(static_cast<ItemKind>(kind)).json) {
            return static_cast<ItemKind>(kind);
        }
    }
    throw Failure(ERROR_INSTALL_FAILURE, L"the receipt names an unknown kind of item");
}

preview::View ViewOf(const Json& item) {
    const int view = item.value("view", 0);
    return view == 64 ? preview::View::Bits64 : view == 32 ? preview::View::Bits32 : preview::View::None;
}

// What a look finds now.
struct Found {
    std::size_t gone = 0;
    std::vector<std::wstring> waiting;
    std::vector<std::wstring> left;
    std::vector<std::wstring> detected;  // names of products

    int ExitCode() const {
        if (!left.empty() || (!detected.empty() && waiting.empty())) {
            return ERROR_INSTALL_FAILURE;
        }
        return waiting.empty() ? ERROR_SUCCESS : ERROR_SUCCESS_REBOOT_REQUIRED;
    }
};

void LookAtItems(const Json& receipt, Found& found) {
    std::vector<std::wstring> pending = PendingDeletions();
    std::transform(pending.begin(), pending.end(), pending.begin(), preview::FoldedPath);
    for (const Json& item : receipt.at("items")) {
        const std::string outcome = item.value("outcome", "");
        // Ended programs may run again, and what was not there is not this removal's.
        if (outcome == kOutcomeNames[static_cast<std::size_t>(Outcome::Absent)] ||
            outcome == kOutcomeNames[static_cast<std::size_t>(Outcome::Ran)] || item.at("kind") == "process") {
            continue;
        }
        const std::wstring path = FromUtf8(item.at("path").get<std::string>());
        const std::wstring name = FromUtf8(item.value("name", ""));
        if (!IsThere(KindOf(item.at("kind")), ViewOf(item), path, name, 0)) {
            ++found.gone;
            continue;
        }
        const bool waits = std::find(pending.begin(), pending.end(), preview::FoldedPath(path)) != pending.end();
        (waits ? found.waiting : found.left).push_back(name.empty() ? path : path + L" : " + name);
    }
}

void LookForProducts(const Json& receipt, const Library& library, Found& found) {
    ULONG flags = 0;
    for (const Json& product : receipt.at("products")) {
        flags |= product.at("catalogue") == "family" ? PRODRM_FAMILY : PRODRM_FOREIGN;
    }
    for (const Product& installed : library.InstalledProducts(flags)) {
        for (const Json& product : receipt.at("products")) {
            if (FromUtf8(product.at("name").get<std::string>()) == installed.name &&
                FromUtf8(product.at("catalogue").get<std::string>()) == CatalogueName(installed.type)) {
                found.detected.push_back(installed.name);
            }
        }
    }
}

std::wstring Text(const Found& found) {
    std::wstring text = L"Gone: " + std::to_wstring(found.gone) + L". Waits for the restart: " +
                        std::to_wstring(found.waiting.size()) + L". Left: " + std::to_wstring(found.left.size()) +
                        L".\n";
    const auto add = [&](const wchar_t* what, const std::vector<std::wstring>& list) {
        for (const std::wstring& entry : list) {
            text += what + Printable(entry) + L"\n";
        }
    };
    add(L"  is left: ", found.left);
    add(L"  waits for the restart: ", found.waiting);
    add(L"  is still found: ", found.detected);
    return text;
}

Json ToJson(const Found& found) {
    const auto list = [](const std::vector<std::wstring>& texts) {
        Json json = Json::array();
        std::transform(texts.begin(), texts.end(), std::back_inserter(json), ToUtf8);
        return json;
    };
    return {{"gone", found.gone},
            {"waiting", list(found.waiting)},
            {"left", list(found.left)},
            {"detected", list(found.detected)},
            {"exit_code", found.ExitCode()}};
}

}  // namespace

int RunVerify(const Options& options, const Library& library, Output& out) {
    const Json receipt = ReadReceipt(options.receipt);
    Found found;
    try {
        LookAtItems(receipt, found);
        LookForProducts(receipt, library, found);
    } catch (const Json::exception&) {
        throw Failure(ERROR_INSTALL_FAILURE, Quoted(options.receipt) + L" is no whole receipt of a removal");
    }
    out.Write(options.json ? ToText(ToJson(found)) + L"\n" : Text(found));
    return found.ExitCode();
}

}  // namespace tools::host
