#pragma once

#include <QWidget>

class QToolButton;

namespace orvanel {

class TextBox;

/// The collapsed section "Show details" with a tool's raw output.
class DetailsSection final : public QWidget {
    Q_OBJECT

public:
    explicit DetailsSection(QWidget* parent = nullptr);

    /// An open section stays open and shows the new text.
    void setDetails(const QString& text);
    void collapse();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void expand();
    void fitBox();

    QToolButton* m_button;
    bool m_isOpen = false;
    /// Made when the section is first opened.
    TextBox* m_box = nullptr;
    QString m_details;
};

} // namespace orvanel
