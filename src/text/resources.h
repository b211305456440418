#pragma once

#include <QString>

namespace kyb {

/// The absolute path of a file in the bundle's resources: in the user's best language that has it ("de.lproj/",
/// "zh-Hant.lproj/"; see `preferredLanguages`), else unlocalised. Empty when there is no such file. Any thread.
QString resourcePath(const QString &fileName);

/// The folder of the bundle's resources. Any thread.
QString resourcesFolder();

/// The path of a file beside the bundle: the folder that holds the bundle, with \p relativePath appended as text (it
/// begins with a slash). Any thread.
QString pathBesideBundle(const QString &relativePath);

} // namespace kyb
