#include "list.h"

#include <windows.h>

#include <utility>

#include "common/json.h"
#include "common/table.h"
#include "common/text.h"

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

std::wstring JsonText(const std::vector<Product>& products, const Options& options) {
    Json list = Json::array();
    for (const Product& product : products) {
        list.push_back(ToJson(product, options));
    }
    constexpr int kIndent = 2;
    return ToText({{"products", std::move(list)}}, kIndent, options.escaped) + L"\n";
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
    if (options.json) {
        out.Write(JsonText(products, options));
    } else if (options.details) {
        out.Write(DetailsText(products, EscapeOf(options)));
    } else {
        out.Write(TableText(products, options));
    }
    return ERROR_SUCCESS;
}

}  // namespace tools::host
