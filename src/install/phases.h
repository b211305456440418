#pragma once

#include <QString>
#include <optional>

namespace kyb {

/// The localized-text key of an installer's phase text: the first row of the phase table whose text it begins with. A
/// text that no row matches is returned as it is. Pure.
QString phaseKey(const QString &text);

/// What one line of the installer's verbose output means.
struct InstallerLine {
    QString phaseText;         ///< a phase key, or the installer's own text with its line end; empty: nothing to show
    bool marksFailure = false; ///< the line says, or must be taken to say, that the installation failed
};

/// Reads one line. Pure.
///
/// \param line the line with its line end; nothing when it was not valid UTF-8, which marks a failure.
/// \param alreadyFailed whether the installation is known to have failed: the text is then "InstallFailed" unless the
///        line has one of its own.
InstallerLine readInstallerLine(const std::optional<QString> &line, bool alreadyFailed);

/// The text of a line buffer: valid UTF-8 with the blanks and tabs at both ends taken off, the line end kept; nothing
/// when it is not valid. Pure.
std::optional<QString> lineText(const char *buffer);

} // namespace kyb
