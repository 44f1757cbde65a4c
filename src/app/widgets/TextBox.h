#pragma once

#include <QPlainTextEdit>

namespace orvanel {

/// Raw text of a tool: small monospaced, selectable, scrolling, never taken for anything but plain text.
class TextBox : public QPlainTextEdit {
    Q_OBJECT

public:
    /// `name` is what a screen reader calls it.
    explicit TextBox(const QString& name, QWidget* parent = nullptr);

    /// A text that continues the one shown is added to it, so that the selection stays. False when it is the same.
    bool setContent(const QString& text);
    /// As high as the text, but no higher than this many pixels. Without it the layout decides.
    void fitHeight(int maximum);

protected:
    bool event(QEvent* event) override;

private:
    void paintBox();

    QString m_content;
    QString m_shown;
};

} // namespace orvanel
