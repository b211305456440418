#include "plist_value.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <ctime>

namespace kyb::macroot {
namespace {

constexpr const char *kPrintedDateFormat = "%a %b %d %H:%M:%S UTC %Y";
constexpr const char *kWrittenDateFormat = "%Y-%m-%dT%H:%M:%SZ";

std::string lowered(std::string_view text) {
    std::string result(text);
    std::ranges::transform(result, result.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return result;
}

plist_t stringNode(const std::string &text) {
    return plist_new_string(text.c_str());
}

plist_t dataNode(const std::string &text) {
    return plist_new_data(text.data(), text.size());
}

plist_t boolNode(const std::string &text) {
    const auto value = boolFromText(text);
    return value ? plist_new_bool(*value ? 1 : 0) : nullptr;
}

// libplist keeps negative numbers in the same 64 bits.
plist_t integerNode(const std::string &text) {
    const auto value = integerFromText(text);
    return value ? plist_new_uint(static_cast<std::uint64_t>(*value)) : nullptr;
}

plist_t realNode(const std::string &text) {
    const auto value = realFromText(text);
    return value ? plist_new_real(*value) : nullptr;
}

plist_t dateNode(const std::string &text) {
    const auto value = dateFromText(text);
    return value ? newDateNode(*value) : nullptr;
}

plist_t arrayNode(const std::string & /*text*/) {
    return plist_new_array();
}

plist_t dictNode(const std::string & /*text*/) {
    return plist_new_dict();
}

template <typename Number> std::optional<Number> numberFromText(std::string_view text) {
    Number value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(value) : std::nullopt;
}

struct TypeRow {
    std::string_view name;
    plist_type type;
    plist_t (*make)(const std::string &text);
    const char *problem;
};

constexpr auto kTypeRows = std::to_array<TypeRow>({
    {"string", PLIST_STRING, stringNode, ""},
    {"bool", PLIST_BOOLEAN, boolNode, "Unrecognized Boolean Format"},
    {"integer", PLIST_UINT, integerNode, "Unrecognized Integer Format"},
    {"real", PLIST_REAL, realNode, "Unrecognized Real Format"},
    {"date", PLIST_DATE, dateNode, "Unrecognized Date Format"},
    {"data", PLIST_DATA, dataNode, ""},
    {"array", PLIST_ARRAY, arrayNode, ""},
    {"dict", PLIST_DICT, dictNode, ""},
});

} // namespace

std::optional<bool> boolFromText(std::string_view text) {
    const std::string word = lowered(text);
    if (word == "yes" || word == "true" || word == "1") {
        return true;
    }
    return word == "no" || word == "false" || word == "0" ? std::optional(false) : std::nullopt;
}

std::optional<std::int64_t> integerFromText(std::string_view text) {
    return numberFromText<std::int64_t>(text);
}

std::optional<double> realFromText(std::string_view text) {
    return numberFromText<double>(text);
}

std::optional<std::int64_t> dateFromText(const std::string &text) {
    for (const char *const format : {kWrittenDateFormat, kPrintedDateFormat}) {
        std::tm parts = {};
        const char *const end = strptime(text.c_str(), format, &parts);
        if (end != nullptr && *end == '\0') {
            return timegm(&parts);
        }
    }
    return std::nullopt;
}

std::string dateText(std::int64_t unixSeconds) {
    const std::time_t when = unixSeconds;
    std::tm parts = {};
    std::array<char, 40> text{};
    gmtime_r(&when, &parts);
    return {text.data(), std::strftime(text.data(), text.size(), kPrintedDateFormat, &parts)};
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
