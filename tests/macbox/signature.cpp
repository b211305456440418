#include "signature.h"

#include "posix/Plist.h"

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

namespace macbox {
namespace {

using kyb::Plist;

constexpr std::string_view kMark = "KYBSIGNED";
constexpr std::size_t kLengthBytes = 8;

/// FNV-1a: a seal against accidents, which is all that a test needs.
std::string sealOf(std::string_view bytes) {
    std::uint64_t hash = 14695981039346656037U;
    for (const char byte : bytes) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 1099511628211U;
    }
    return std::to_string(hash);
}

struct SignedFile {
    std::string program;
    std::string list; ///< empty when it is not signed
};

SignedFile split(std::string content) {
    if (content.size() < kMark.size() + kLengthBytes || !content.ends_with(kMark)) {
        return {std::move(content), {}};
    }
    const std::size_t lengthAt = content.size() - kMark.size() - kLengthBytes;
    std::uint64_t length = 0;
    std::memcpy(&length, content.data() + lengthAt, kLengthBytes);
    return {content.substr(0, lengthAt - length), content.substr(lengthAt - length, length)};
}

Plist parse(const std::string &list) {
    plist_t root = nullptr;
    plist_from_memory(list.data(), static_cast<std::uint32_t>(list.size()), &root);
    return Plist(root);
}

std::string textOf(plist_t node) {
    char *value = nullptr;
    plist_get_string_val(node, &value);
    std::string text = value == nullptr ? "" : value;
    std::free(value);
    return text;
}

Texts textsOf(plist_t dictionary) {
    Texts texts;
    kyb::eachEntry(dictionary, [&](const char *key, plist_t value) { texts[key] = textOf(value); });
    return texts;
}

plist_t dictionaryOf(const Texts &texts) {
    const plist_t dictionary = plist_new_dict();
    for (const auto &[key, value] : texts) {
        plist_dict_set_item(dictionary, key.c_str(), plist_new_string(value.c_str()));
    }
    return dictionary;
}

std::string xmlOf(const Plist &list) {
    char *xml = nullptr;
    std::uint32_t length = 0;
    plist_to_xml(list.get(), &xml, &length);
    const std::string text(xml, length);
    std::free(xml);
    return text;
}

plist_t entry(const Plist &list, const std::string &key) {
    const bool isDictionary = list && plist_get_node_type(list.get()) == PLIST_DICT;
    return isDictionary ? plist_dict_get_item(list.get(), key.c_str()) : nullptr;
}

bool isOfType(plist_t node, plist_type type) {
    return node != nullptr && plist_get_node_type(node) == type;
}

/// One of the forms that a condition may have; the groups make the fact and the value.
struct Form {
    std::regex text;
    Condition::Kind kind;
    const char *fact;
};

const std::vector<Form> &forms() {
    static const std::vector<Form> forms{
        {std::regex("anchor (apple generic)"), Condition::Kind::Is, "anchor"},
        {std::regex("identifier \"([^\"]*)\""), Condition::Kind::Is, "identifier"},
        {std::regex("certificate (leaf|[0-9])\\[(field\\.[0-9.]+)\\]"), Condition::Kind::Exists, "certificate "},
        {std::regex("certificate leaf\\[subject\\.OU\\] = \"([^\"]*)\""), Condition::Kind::Is,
         "certificate leaf[subject.OU]"},
        {std::regex("info\\[([A-Za-z]+)\\] >= \"([0-9.]+)\""), Condition::Kind::IsNotBelow, "info"},
    };
    return forms;
}

std::optional<Condition> readCondition(const std::string &text) {
    for (const Form &form : forms()) {
        std::smatch match;
        if (!std::regex_match(text, match, form.text)) {
            continue;
        }
        switch (form.kind) {
        case Condition::Kind::Is:
            return Condition{form.kind, form.fact, match.str(1)};
        case Condition::Kind::Exists:
            return Condition{form.kind, form.fact + match.str(1) + '[' + match.str(2) + ']', {}};
        case Condition::Kind::IsNotBelow:
            return Condition{form.kind, form.fact + ('[' + match.str(1) + ']'), match.str(2)};
        }
    }
    return std::nullopt;
}

bool holds(const Texts &facts, const Condition &condition) {
    const auto fact = facts.find(condition.fact);
    if (fact == facts.end()) {
        return false;
    }
    switch (condition.kind) {
    case Condition::Kind::Is:
        return fact->second == condition.value;
    case Condition::Kind::IsNotBelow:
        return isNotBelow(fact->second, condition.value);
    case Condition::Kind::Exists:
        break;
    }
    return true;
}

} // namespace

std::string contentOf(const std::string &path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

std::optional<Signature> signatureOf(const std::string &path) {
    const SignedFile file = split(contentOf(path));
    const Plist list = parse(file.list);
    const plist_t seal = entry(list, "seal");
    if (seal == nullptr || textOf(seal) != sealOf(file.program)) {
        return std::nullopt;
    }
    return Signature{textsOf(entry(list, "facts")), textsOf(entry(list, "sections"))};
}

bool sign(const std::string &path, const Signature &signature) {
    const std::string program = split(contentOf(path)).program;
    const Plist list(plist_new_dict());
    plist_dict_set_item(list.get(), "facts", dictionaryOf(signature.facts));
    plist_dict_set_item(list.get(), "sections", dictionaryOf(signature.sections));
    plist_dict_set_item(list.get(), "seal", plist_new_string(sealOf(program).c_str()));
    const std::string xml = xmlOf(list);
    const std::uint64_t length = xml.size();
    std::string content = program + xml;
    content.append(reinterpret_cast<const char *>(&length), kLengthBytes).append(kMark);

    const std::string beside = path + ".signed"; // a program that runs cannot be written to
    std::ofstream(beside, std::ios::binary) << content;
    std::error_code error;
    std::filesystem::permissions(beside, std::filesystem::status(path).permissions(), error);
    std::filesystem::rename(beside, path, error);
    return !error;
}

std::string encode(const Texts &facts) {
    return xmlOf(Plist(dictionaryOf(facts)));
}

Texts decode(const std::string &text) {
    const Plist list = parse(text);
    return isOfType(list.get(), PLIST_DICT) ? textsOf(list.get()) : Texts();
}

std::optional<Requirement> readRequirement(const std::string &text) {
    static const std::regex separator(" and ");
    Requirement requirement;
    for (std::sregex_token_iterator part(text.begin(), text.end(), separator, -1), end; part != end; ++part) {
        const std::optional<Condition> condition = readCondition(*part);
        if (!condition) {
            return std::nullopt;
        }
        requirement.push_back(*condition);
    }
    return requirement;
}

bool satisfies(const Texts &facts, const Requirement &requirement) {
    for (const Condition &condition : requirement) {
        if (!holds(facts, condition)) {
            return false;
        }
    }
    return true;
}

bool isNotBelow(const std::string &one, const std::string &other) {
    std::istringstream ones(one);
    std::istringstream others(other);
    for (std::string piece, otherPiece; std::getline(ones, piece, '.') && std::getline(others, otherPiece, '.');) {
        const long number = std::atol(piece.c_str());
        const long otherNumber = std::atol(otherPiece.c_str());
        if (number != otherNumber) {
            return number > otherNumber;
        }
    }
    return others.eof(); // the shorter one is less
}

std::optional<std::string> textIn(const std::string &propertyList, const std::string &key) {
    const Plist list = parse(propertyList);
    const plist_t node = entry(list, key);
    return isOfType(node, PLIST_STRING) ? std::optional(textOf(node)) : std::nullopt;
}

std::vector<std::string> textsIn(const std::string &propertyList, const std::string &key) {
    const Plist list = parse(propertyList);
    const plist_t node = entry(list, key);
    std::vector<std::string> texts;
    for (std::uint32_t i = 0; isOfType(node, PLIST_ARRAY) && i < plist_array_get_size(node); ++i) {
        texts.push_back(textOf(plist_array_get_item(node, i)));
    }
    return texts;
}

Texts dictionaryIn(const std::string &propertyList, const std::string &key) {
    const Plist list = parse(propertyList);
    const plist_t node = entry(list, key);
    return isOfType(node, PLIST_DICT) ? textsOf(node) : Texts();
}

} // namespace macbox
