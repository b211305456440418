#pragma once

#include <QUiLoader>

namespace kyb {

/// Reads interface descriptions, and knows the kinds of controls that are the program's own. Main thread.
class InterfaceLoader : public QUiLoader {
    Q_OBJECT

public:
    using QUiLoader::QUiLoader;

    /// Builds what the file at \p path describes, as a child of \p parent.
    /// \param problem set to a sentence when the file is missing or broken.
    /// \return the outermost widget, or null; it belongs to \p parent, or to the caller when there is none.
    QWidget *loadFile(const QString &path, QWidget *parent, QString *problem);

    QWidget *createWidget(const QString &className, QWidget *parent, const QString &name) override;
    QAction *createAction(QObject *parent, const QString &name) override;
};

} // namespace kyb
