#include "plist_value.h"

#include "texts.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <ctime>
#include <optional>

namespace kyb::macroot {
namespace {

constexpr const char *kPrintedDateFormat = "%a %b %d %H:%M:%S UTC %Y";
constexpr const char *kWrittenDateFormat = "%Y-%m-%dT%H:%M:%SZ";

plist_t stringNode(const std::string &text) {
    return isListText(text) ? plist_new_string(text.c_str()) : nullptr;
}

plist_t dataNode(const std::string &text) {
    return plist_new_data(text.data(), text.size());
}

plist_t boolNode(const std::string &text) {
    const std::string word = lowered(text);
    const bool isTrue = word == "yes" || word == "true" || word == "1";
    return isTrue || word == "no" || word == "false" || word == "0" ? plist_new_bool(isTrue ? 1 : 0) : nullptr;
}

template <typename Number> std::optional<Number> numberFromText(const std::string &text) {
    Number value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(value) : std::nullopt;
}

// libplist keeps negative numbers in the same 64 bits.
plist_t integerNode(const std::string &text) {
    const auto value = numberFromText<std::int64_t>(text);
    return value ? plist_new_uint(static_cast<std::uint64_t>(*value)) : nullptr;
}

plist_t realNode(const std::string &text) {
    const auto value = numberFromText<double>(text);
    return value && std::isfinite(*value) ? plist_new_real(*value) : nullptr;
}

plist_t dateNode(const std::string &text) {
    for (const char *const format : {kWrittenDateFormat, kPrintedDateFormat}) {
        std::tm parts = {};
        const char *const end = strptime(text.c_str(), format, &parts);
        if (end != nullptr && *end == '\0') {
            Plist node(newDateNode(timegm(&parts)));
            return unixSecondsOf(node.get()) == timegm(&parts) ? node.release() : nullptr;
        }
    }
    return nullptr;
}

plist_t arrayNode(const std::string & /*text*/) {
    return plist_new_array();
}

plist_t dictNode(const std::string & /*text*/) {
    return plist_new_dict();
}

struct TypeRow {
    std::string_view name;
    plist_type type;
    plist_t (*make)(const std::string &text);
    const char *problem;
};

constexpr auto kTypeRows = std::to_array<TypeRow>({
    {"string", PLIST_STRING, stringNode, "Unrecognized String Format: Control Characters or No UTF-8"},
    {"bool", PLIST_BOOLEAN, boolNode, "Unrecognized Boolean Format"},
    {"integer", PLIST_UINT, integerNode, "Unrecognized Integer Format"},
    {"real", PLIST_REAL, realNode, "Unrecognized Real Format"},
    {"date", PLIST_DATE, dateNode, "Unrecognized Date Format"},
    {"data", PLIST_DATA, dataNode, ""},
    {"array", PLIST_ARRAY, arrayNode, ""},
    {"dict", PLIST_DICT, dictNode, ""},
});

} // namespace

std::string dateText(std::int64_t unixSeconds) {
    const std::time_t when = unixSeconds;
    std::tm parts = {};
    std::array<char, 40> text{};
    gmtime_r(&when, &parts);
    return {text.data(), std::strftime(text.data(), text.size(), kPrintedDateFormat, &parts)};
}

// NB: XML's readers make a line feed of a carriage return.
bool isListText(std::string_view text) {
    return isXmlText(text) && text.find('\r') == std::string_view::npos;
}

Plist nodeFromText(std::string_view type, const std::string &text, std::string &problem) {
    const auto row = std::ranges::find(kTypeRows, type, &TypeRow::name);
    if (row == kTypeRows.end()) {
        problem = "Unrecognized Type: " + std::string(type);
        return {};
    }
    problem = row->problem;
    return Plist(row->make(text));
}

std::string_view typeName(plist_t node) {
    const auto row = std::ranges::find(kTypeRows, plist_get_node_type(node), &TypeRow::type);
    return row == kTypeRows.end() ? std::string_view() : row->name;
}

} // namespace kyb::macroot
