#pragma once

#include <QString>

// The shell command lines that the engine runs. Paths are places on this machine (see `systemPath`); they stand between
// double quotes and nothing in them is escaped. Pure.

namespace kyb {

enum class Computer { Private, Public };

/// Lists a folder: what the helper is probed with.
inline QString listCommand(const QString &folder) {
    return QStringLiteral("%1 %2").arg(QStringLiteral("ls"), folder);
}

/// Installs a package on the start-up volume.
inline QString installCommand(const QString &installer, const QString &package) {
    return QStringLiteral("%1 -pkg \"%2\" -target / -verboseR").arg(installer, package);
}

/// Sets the administrator preference. NB: the inner quotes are joined by the shell; PlistBuddy gets
/// `Set :IsPrivateInstall YES`.
inline QString preferenceCommand(const QString &plistBuddy, Computer computer, const QString &preferences) {
    return QStringLiteral("%1 -c \"Set :IsPrivateInstall \"%2\"\" \"%3\"")
        .arg(plistBuddy, computer == Computer::Private ? QStringLiteral("YES") : QStringLiteral("NO"), preferences);
}

/// Prints the last \p lines lines of a file.
inline QString tailCommand(int lines, const QString &file) {
    return QStringLiteral("tail -%1 \"%2\"").arg(QString::number(lines), file);
}

} // namespace kyb
