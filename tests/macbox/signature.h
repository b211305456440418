#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

// What plays a code signature: a property list behind the end of the program, written by macbox_sign. It holds what a
// requirement asks for, and the property lists that a Mac's linker puts into the program. Any thread.

namespace macbox {

using Texts = std::map<std::string, std::string>;

struct Signature {
    Texts facts;    ///< "identifier", "anchor", "certificate leaf[subject.OU]", "info[CFBundleVersion]", ...
    Texts sections; ///< "__info_plist", "__launchd_plist"
};

/// What a file holds; nothing when it cannot be read.
std::string contentOf(const std::string &path);

/// The signature of the program at \p path; none when it is not signed or was changed since.
std::optional<Signature> signatureOf(const std::string &path);

/// Signs the program at \p path, in place of an earlier signature. \return whether that could be done.
bool sign(const std::string &path, const Signature &signature);

/// As it is handed on with a message.
std::string encode(const Texts &facts);
Texts decode(const std::string &text);

/// One condition of a requirement: that the fact is there, is the value, or is no older version than it.
struct Condition {
    enum class Kind { Exists, Is, IsNotBelow } kind;
    std::string fact;
    std::string value;
};
using Requirement = std::vector<Condition>; ///< each must hold

/// Reads as much of the requirement language as the program uses: conditions joined by "and". None when it cannot be
/// read, or is empty.
std::optional<Requirement> readRequirement(const std::string &text);
bool satisfies(const Texts &facts, const Requirement &requirement);

/// Whether the version \p one, integers with dots, is not below \p other.
bool isNotBelow(const std::string &one, const std::string &other);

/// The texts of a property list's entry \p key: of the list itself, of an array or of a dictionary's entry.
std::optional<std::string> textIn(const std::string &propertyList, const std::string &key);
std::vector<std::string> textsIn(const std::string &propertyList, const std::string &key);
Texts dictionaryIn(const std::string &propertyList, const std::string &key);

} // namespace macbox
