#pragma once

#include <QString>

// The command lines that run a script. Nothing in the script's path is escaped. Pure.

namespace kyb {

/// Runs a script with the shell.
inline QString scriptCommand(const QString &script) {
    return QStringLiteral("%1 \"%2\"").arg(QStringLiteral("/bin/sh"), script);
}

/// A script as a command of its own: between double quotes, unless it begins with a quote already.
inline QString quotedScript(const QString &script) {
    const bool quoted = script.startsWith(u'"') || script.startsWith(u'\'');
    return quoted ? script : QStringLiteral("\"%1\"").arg(script);
}

} // namespace kyb
