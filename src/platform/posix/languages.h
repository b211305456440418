#pragma once

#include <QStringList>

namespace kyb {

/// What `preferredLanguages` answers to a user who wants the languages \p tags, best first: BCP 47's ("zh-Hant-TW"),
/// also with "_". What a tag has beyond language, script and region counts for nothing, and so does what is no tag.
/// Pure.
QStringList tableLanguages(const QStringList &tags);

} // namespace kyb
