#include "plist_commands.h"

#include "plist_value.h"
#include "texts.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <utility>

namespace kyb::macroot {
namespace {

using Outcome = PlistEditor::Outcome;

constexpr std::size_t kIndentColumns = 4;

/// Takes one text after the other from the front of a command.
class WordReader {
public:
    explicit WordReader(std::string_view text) : rest_(text) {}

    std::string word() {
        skipBlanks();
        std::string word;
        char quote = '\0';
        while (!rest_.empty() && (quote != '\0' || rest_.front() != ' ')) {
            const char c = take();
            if (c == '\\' && !rest_.empty()) {
                word += take();
            } else if (c == quote || (quote == '\0' && (c == '"' || c == '\''))) {
                quote = c == quote ? '\0' : c;
            } else {
                word += c;
            }
        }
        return word;
    }
    std::string rest() {
        skipBlanks();
        const bool quoted =
            rest_.size() >= 2 && rest_.front() == rest_.back() && (rest_.front() == '"' || rest_.front() == '\'');
        return std::string(quoted ? rest_.substr(1, rest_.size() - 2) : rest_);
    }

private:
    char take() {
        const char c = rest_.front();
        rest_.remove_prefix(1);
        return c;
    }
    void skipBlanks() { rest_.remove_prefix(std::min(rest_.find_first_not_of(' '), rest_.size())); }

    std::string_view rest_;
};

std::string withColon(const std::string &entry) {
    return entry.starts_with(':') ? entry : ":" + entry;
}

Outcome failure(std::string text) {
    return {false, std::move(text)};
}

Outcome missing(const PlistCommand &command) {
    return failure(command.name + ": Entry, \"" + withColon(command.entry) + "\", Does Not Exist");
}

bool isContainer(plist_t node) {
    const plist_type type = plist_get_node_type(node);
    return type == PLIST_DICT || type == PLIST_ARRAY;
}

std::optional<std::uint32_t> arrayIndex(const std::string &name) {
    std::uint32_t index = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), index);
    return error == std::errc() && end == name.data() + name.size() ? std::optional(index) : std::nullopt;
}

plist_t childOf(plist_t node, const std::string &name) {
    if (plist_get_node_type(node) == PLIST_DICT) {
        return plist_dict_get_item(node, name.c_str());
    }
    const std::optional<std::uint32_t> index = arrayIndex(name);
    const bool there = plist_get_node_type(node) == PLIST_ARRAY && index && *index < plist_array_get_size(node);
    return there ? plist_array_get_item(node, *index) : nullptr;
}

/// Puts \p child (which then belongs to the container) in; false when the container has no such place.
bool insertChild(plist_t container, const std::string &name, Plist &child) {
    if (plist_get_node_type(container) == PLIST_DICT) {
        plist_dict_set_item(container, name.c_str(), child.release());
        return true;
    }
    const std::optional<std::uint32_t> index = arrayIndex(name);
    const std::uint32_t size = plist_array_get_size(container);
    if (!index && !name.empty()) {
        return false;
    }
    plist_array_insert_item(container, child.release(), std::min(index.value_or(size), size)); // behind all: at the end
    return true;
}

std::string ownedText(plist_t node, void (*get)(plist_t, char **)) {
    char *text = nullptr;
    get(node, &text);
    std::string result = text != nullptr ? text : "";
    std::free(text); // NOLINT: libplist gives memory of malloc()
    return result;
}

std::string printedScalar(plist_t node) {
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        std::uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return value != 0 ? "true" : "false";
    }
    case PLIST_UINT: {
        std::uint64_t value = 0;
        plist_get_uint_val(node, &value);
        return std::to_string(static_cast<std::int64_t>(value));
    }
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return std::to_string(value);
    }
    case PLIST_DATE:
        return dateText(unixSecondsOf(node));
    case PLIST_DATA: {
        std::uint64_t length = 0;
        const char *const bytes = plist_get_data_ptr(node, &length);
        return {bytes, static_cast<std::size_t>(length)};
    }
    case PLIST_STRING:
        return ownedText(node, plist_get_string_val);
    default:
        return {};
    }
}

void appendPrinted(std::string &text, plist_t node, std::size_t columns) {
    if (!isContainer(node)) {
        text += printedScalar(node);
        return;
    }
    const bool isDict = plist_get_node_type(node) == PLIST_DICT;
    text += isDict ? "Dict {\n" : "Array {\n";
    eachChild(node, [&](std::string_view key, plist_t child) {
        text.append(columns + kIndentColumns, ' ').append(key).append(isDict ? " = " : "");
        appendPrinted(text, child, columns + kIndentColumns);
        text += '\n';
    });
    text.append(columns, ' ') += '}';
}

/// Gives an existing node the value of another one of the same type.
void assign(plist_t node, plist_t from) {
    const plist_t parent = plist_get_parent(node);
    if (plist_get_node_type(parent) == PLIST_ARRAY) {
        plist_array_set_item(parent, plist_copy(from), plist_array_get_item_index(node));
    } else {
        plist_dict_set_item(parent, ownedText(node, plist_dict_get_item_key).c_str(), plist_copy(from));
    }
}

} // namespace

PlistCommand parsePlistCommand(std::string_view text) {
    WordReader reader(text);
    PlistCommand command;
    command.name = reader.word();
    command.entry = reader.word();
    command.arguments = reader.rest();
    return command;
}

std::vector<std::string> entryNames(std::string_view entry) {
    return splitText(entry.substr(entry.starts_with(':') ? 1 : 0), ':');
}

std::string printedNode(plist_t node) {
    std::string text;
    appendPrinted(text, node, 0);
    return text;
}

Outcome PlistEditor::run(std::string_view text) {
    using Method = Outcome (PlistEditor::*)(const PlistCommand &);
    static constexpr auto methods = std::to_array<std::pair<std::string_view, Method>>({
        {"print", &PlistEditor::print},
        {"set", &PlistEditor::set},
        {"add", &PlistEditor::add},
        {"delete", &PlistEditor::remove},
    });
    const PlistCommand command = parsePlistCommand(text);
    const auto *const row = std::ranges::find(methods, lowered(command.name), [](const auto &r) { return r.first; });
    return row == methods.end() ? failure("Unrecognized Command") : (this->*row->second)(command);
}

plist_t PlistEditor::find(const std::vector<std::string> &names) const {
    plist_t node = root_.get();
    for (const std::string &name : names) {
        node = node != nullptr ? childOf(node, name) : nullptr;
    }
    return node;
}

Outcome PlistEditor::print(const PlistCommand &command) {
    const plist_t node = find(entryNames(command.entry));
    return node == nullptr ? missing(command) : Outcome{true, printedNode(node)};
}

Outcome PlistEditor::set(const PlistCommand &command) {
    const plist_t node = find(entryNames(command.entry));
    if (node == nullptr) {
        return missing(command);
    }
    if (isContainer(node)) {
        return failure(command.name + ": Cannot Perform Set On Containers");
    }
    std::string problem;
    Plist value = nodeFromText(typeName(node), command.arguments, problem);
    if (!value) {
        return failure(problem);
    }
    if (node == root_.get()) {
        root_ = std::move(value);
    } else {
        assign(node, value.get());
    }
    changed_ = true;
    return {};
}

Outcome PlistEditor::add(const PlistCommand &command) {
    std::vector<std::string> names = entryNames(command.entry);
    const PlistCommand typed = parsePlistCommand("type " + command.arguments); // the arguments are a type and a value
    const plist_t existing = find(names);
    // In an array, what stands at the place moves on.
    if (existing != nullptr && plist_get_node_type(plist_get_parent(existing)) != PLIST_ARRAY) {
        return failure(command.name + ": \"" + withColon(command.entry) + "\" Entry Already Exists");
    }
    const std::string name = names.back();
    names.pop_back();
    const plist_t container = find(names);
    std::string problem;
    Plist value = nodeFromText(lowered(typed.entry), typed.arguments, problem);
    if (!value) {
        return failure(problem);
    }
    if (!isListText(name)) {
        return failure("Unrecognized Key Format: Control Characters or No UTF-8");
    }
    if (container == nullptr || !isContainer(container) || !insertChild(container, name, value)) {
        return failure(command.name + ": Can't Add Entry, \"" + withColon(command.entry) + "\", to Parent");
    }
    changed_ = true;
    return {};
}

Outcome PlistEditor::remove(const PlistCommand &command) {
    const std::vector<std::string> names = entryNames(command.entry);
    const plist_t node = names.empty() ? nullptr : find(names);
    if (node == nullptr) {
        return missing(command);
    }
    const plist_t parent = plist_get_parent(node);
    if (plist_get_node_type(parent) == PLIST_ARRAY) {
        plist_array_remove_item(parent, plist_array_get_item_index(node));
    } else {
        plist_dict_remove_item(parent, names.back().c_str());
    }
    changed_ = true;
    return {};
}

} // namespace kyb::macroot
