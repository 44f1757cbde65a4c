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

    /// An open section stays open, with the new text in the place of the old.
    void setDetails(const QString& text);
    void collapse() { setOpen(false); }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void setOpen(bool open);
    void fitBox();

    QToolButton* m_button;
    bool m_isOpen = false;
    /// Made when the section is opened.
    TextBox* m_box = nullptr;
    QString m_details;
};

} // namespace orvanel
