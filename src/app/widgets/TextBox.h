#pragma once

#include <QPlainTextEdit>

namespace orvanel {

/// The part of a text that is also the beginning of the text that follows it.
struct KeptText {
    qsizetype from = 0;
    qsizetype size = 0;

    bool operator==(const KeptText&) const = default;
};

/// The part of `old` that may stay when it becomes `next`. It is found where the text only grew, and also where lines
/// went at its front, as in a log of which only the end is read. No character is cut in two.
KeptText keptText(QStringView old, QStringView next);

/// The output of a tool in small monospaced letters: selectable, scrolling, always plain text (see plainLog()).
class TextBox : public QPlainTextEdit {
    Q_OBJECT

public:
    /// `name` is what a screen reader calls it.
    explicit TextBox(const QString& name, QWidget* parent = nullptr);

    /// Changes only what differs from the text shown: the selection and the scroll position stay, even where lines went
    /// at the front while others came at the end. Returns false for the same text. Lines of more than 20,000 characters
    /// are shown in pieces, and only the last 10,000 lines are shown.
    bool setContent(const QString& text);
    /// The text as plainLog() has made it.
    QString content() const { return m_plain; }

    /// Sets what an empty box says, on the screen and to a screen reader.
    void setPlaceholder(const QString& text);
    /// Whether every change brings the end into view; off at first.
    void setFollowing(bool following) { m_isFollowing = following; }
    /// Makes the box as high as its text, but at most this many pixels. Without this call the layout decides.
    void fitHeight(int maximum);
    /// How much darker than its surroundings the box is in a light palette, from 0 to 1.
    void setShade(double opacity);

protected:
    bool event(QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    QMimeData* createMimeDataFromSelection() const override;

private:
    void showText(const QString& text);
    void describe();
    void scrollToEnd();
    void paintBox();

    QString m_content;
    QString m_plain;
    QString m_shown;
    bool m_isFollowing = false;
    double m_shade;
};

/// The live output of a tool, in a box of fixed height that keeps the newest line in view.
class LogBox final : public TextBox {
    Q_OBJECT

public:
    /// An empty box shows `placeholder`.
    LogBox(const QString& name, const QString& placeholder, QWidget* parent = nullptr);

    void setLog(const QString& text);
};

/// A command for a terminal, to be copied: as high as its text.
class CommandBox final : public TextBox {
    Q_OBJECT

public:
    explicit CommandBox(const QString& name, QWidget* parent = nullptr);

    void setCommand(const QString& text);

protected:
    void resizeEvent(QResizeEvent* event) override;
};

} // namespace orvanel
