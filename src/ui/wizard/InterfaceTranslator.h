#pragma once

#include <QHash>
#include <QTranslator>

namespace kyb {

/// Looks up the texts that the interface descriptions bring themselves in "Interface.strings" of the user's language,
/// then in the string table: each text is the key of its translation, and stays as it is when it has none. What cannot
/// be read in them is told to the system log. Main thread.
class InterfaceTranslator : public QTranslator {
    Q_OBJECT

public:
    using QTranslator::QTranslator;

    /// Reads the table out of the bundle. Without one, the string table alone counts.
    void loadTable();

    bool isEmpty() const override { return texts_.isEmpty(); }
    QString translate(const char *context, const char *sourceText, const char *disambiguation, int n) const override;

private:
    QHash<QString, QString> texts_;
};

} // namespace kyb
