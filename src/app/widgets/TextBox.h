#pragma once

#include <QPlainTextEdit>

namespace orvanel {

/// Output of a tool: small monospaced, selectable, scrolling, and never anything but plain text (see plainLog()).
class TextBox : public QPlainTextEdit {
    Q_OBJECT

public:
    /// `name` is what a screen reader calls it.
    explicit TextBox(const QString& name, QWidget* parent = nullptr);

    /// Changes what differs from the text shown and no more: what is selected stays selected, and the place in the
    /// text stays where it is, also where lines went at the front while others came at the end. False when it is the
    /// same. A line of more than 20,000 characters is shown in pieces, and of more than 10,000 lines only the last are.
    bool setContent(const QString& text);
    /// The text as plainLog() has made it.
    QString content() const { return m_plain; }

    /// Whether the end comes into view with every change. At first it does not.
    void setFollowing(bool following) { m_isFollowing = following; }
    /// As high as the text, but no higher than this many pixels. Without it the layout decides.
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
    void scrollToEnd();
    void paintBox();

    QString m_content;
    QString m_plain;
    QString m_shown;
    bool m_isFollowing = false;
    double m_shade;
};

} // namespace orvanel
