#include "list.h"

#include <windows.h>

#include <utility>

#include "common/com_scope.h"
#include "common/json.h"
#include "common/table.h"
#include "common/text.h"
#include "pending_deletions.h"
#include "preview/findings.h"

namespace tools::host {

namespace {

Json ToJson(const Version& version, bool details) {
    if (!details) {
        return ToUtf8(version.key);
    }
    Json parameters = Json::object();
    for (const Parameter& parameter : version.parameters) {
        Json& values = parameters[ToUtf8(parameter.name)] = Json::array();
        for (const std::wstring& value : parameter.values) {
            values.push_back(ToUtf8(value));
        }
    }
    return {{"key", ToUtf8(version.key)}, {"parameters", std::move(parameters)}};
}

Json ToJson(const Product& product, const Options& options) {
    Json value = {
        {"name", ToUtf8(product.name)},
        {"catalogue", ToUtf8(CatalogueName(product.type))},
        {"script", ToUtf8(product.script)},
    };
    if (options.installed) {
        Json& versions = value["versions"] = Json::array();
        for (const Version& version : product.versions) {
            versions.push_back(ToJson(version, options.details));
        }
    }
    return value;
}

using EndangeredPaths = std::vector<preview::EndangeredPath>;

std::wstring JsonText(const std::vector<Product>& products, const EndangeredPaths& endangered, const Options& options) {
    Json list = Json::array();
    for (const Product& product : products) {
        list.push_back(ToJson(product, options));
    }
    Json whole = {{"products", std::move(list)}};
    for (const preview::EndangeredPath& each : endangered) {
        whole["waiting_deletions"].push_back({{"path", ToUtf8(each.path)}, {"product", ToUtf8(each.product)}});
    }
    constexpr int kIndent = 2;
    return ToText(whole, kIndent, options.escaped) + L"\n";
}

std::wstring WarningText(const EndangeredPaths& endangered) {
    std::wstring text;
    for (const preview::EndangeredPath& each : endangered) {
        text += Printable(L"Goes at the next restart, although " + Quoted(each.product) + L" uses it: " + each.path) +
                L"\n";
    }
    return text;
}

EndangeredPaths Endangered(const Options& options, const Library& library) {
    const std::vector<std::wstring> pending = options.installed ? PendingDeletions() : std::vector<std::wstring>();
    if (pending.empty()) {
        return {};
    }
    const ComScope com;
    return preview::EndangeredByRestart(library.Folder(), pending);
}

std::wstring Joined(const std::vector<std::wstring>& texts) {
    std::wstring joined;
    for (const std::wstring& text : texts) {
        joined += (joined.empty() ? L"" : L", ") + text;
    }
    return joined;
}

Escape EscapeOf(const Options& options) {
    return options.escaped ? Escape::NonAscii : Escape::Unshowable;
}

std::wstring TableText(const std::vector<Product>& products, const Options& options) {
    const bool installed = options.installed;
    Table table({L"Product", L"Catalogue", installed ? L"Keys found" : L"Script"}, EscapeOf(options));
    for (const Product& product : products) {
        std::vector<std::wstring> keys;
        for (const Version& version : product.versions) {
            keys.push_back(version.key);
        }
        table.Add({product.name, CatalogueName(product.type), installed ? Joined(keys) : product.script});
    }
    return table.Text();
}

std::wstring DetailsText(const std::vector<Product>& products, Escape escape) {
    std::wstring text;
    const auto add = [&text, escape](const wchar_t* indent, const std::wstring& line) {
        text += indent + Printable(line, escape) + L"\n";
    };
    for (const Product& product : products) {
        add(L"", product.name + L" (" + CatalogueName(product.type) + L")");
        add(L"  ", L"script: " + product.script);
        for (const Version& version : product.versions) {
            add(L"  ", L"key: " + version.key);
            for (const Parameter& parameter : version.parameters) {
                add(L"    ", parameter.name + L" = " + Joined(parameter.values));
            }
        }
    }
    return text;
}

std::vector<Product> Listed(const Options& options, const Library& library) {
    if (!options.installed) {
        return library.Products(options.catalogues);
    }
    return options.details ? library.InstalledProductsEx(options.catalogues)
                           : library.InstalledProducts(options.catalogues);
}

}  // namespace

int RunList(const Options& options, const Library& library, Output& out) {
    const std::vector<Product> products = Listed(options, library);
    const EndangeredPaths endangered = Endangered(options, library);
    if (options.json) {
        out.Write(JsonText(products, endangered, options));
        return ERROR_SUCCESS;
    }
    out.Write(options.details ? DetailsText(products, EscapeOf(options)) : TableText(products, options));
    out.Write(WarningText(endangered));
    return ERROR_SUCCESS;
}

}  // namespace tools::host
