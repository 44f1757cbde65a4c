#pragma once

#include "app/widgets/StateColors.h"
#include "app/widgets/TextStyle.h"

#include <QWidget>

#include <optional>

namespace orvanel {

/// A thin horizontal line.
class Divider final : public QWidget {
    Q_OBJECT

public:
    explicit Divider(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

/// A filled circle whose colour has a meaning. A screen reader and the tooltip tell it in words.
class Dot final : public QWidget {
    Q_OBJECT

public:
    explicit Dot(int diameter, QWidget* parent = nullptr);

    /// `spoken` is the meaning in words.
    void setState(Meaning meaning, const QString& spoken);
    Meaning meaning() const { return m_meaning; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Meaning m_meaning = Meaning::inactive;
};

/// A line drawing before or above a heading, as high as a line of its text. It is drawn from paths: sharp at every
/// scale, in the colours of the palette, and free while no window is open. It repeats the heading, so screen readers
/// skip it.
class Symbol final : public QWidget {
    Q_OBJECT

public:
    enum class Kind { heartbeat, box, shieldWithLock, warningTriangle, playCircle, crossOctagon };

    /// The colour is that of the palette's text, unless one of the functions below sets another.
    explicit Symbol(Kind kind, TextStyle style, QWidget* parent = nullptr);

    void setMeaning(Meaning meaning);
    /// Uses the desktop's highlight colour.
    void setAccented();

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    QColor color() const;
    void fitFont();

    const Kind m_kind;
    std::optional<Meaning> m_meaning;
    bool m_accented = false;
};

} // namespace orvanel
