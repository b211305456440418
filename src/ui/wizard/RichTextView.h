#pragma once

#include "text/rich_text.h"
#include "ui/views/WidgetControl.h"

#include <QTextEdit>

namespace kyb {

/// Shows a styled text, to be read and copied. Links do not open. Main thread.
class RichTextView : public QTextEdit, public TextControl, public virtual RichText {
    Q_OBJECT

public:
    explicit RichTextView(QWidget *parent = nullptr);

    /// Colours of the document that could not be read on this view's ground are shown lighter or darker.
    void setRichText(const RichTextDocument &document) override;
    void setText(const QString &text) override; ///< unstyled
    QString text() const override { return toPlainText(); }

protected:
    void changeEvent(QEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    void write();

    RichTextDocument document_;
};

} // namespace kyb
