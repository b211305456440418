#pragma once

#include "text/rich_text.h"

#include <QTextEdit>

namespace kyb {

/// Shows a styled text, to be read and copied. Links do not open. Main thread.
class RichTextView : public QTextEdit {
    Q_OBJECT

public:
    explicit RichTextView(QWidget *parent = nullptr);

    /// Colours of the document that could not be read on this view's ground are shown lighter or darker.
    void setRichText(const RichTextDocument &document);
    void setUnstyledText(const QString &text);

protected:
    void changeEvent(QEvent *event) override;

private:
    void write();

    RichTextDocument document_;
};

} // namespace kyb
