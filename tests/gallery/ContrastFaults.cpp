#include "Contrast.h"
#include "Faults.h"
#include "app/views/MonitorModel.h"
#include "app/views/MonitorRows.h"
#include "app/widgets/Switch.h"
#include "app/widgets/TextBox.h"
#include "app/widgets/TextLabel.h"
#include "app/widgets/TextStyle.h"

#include <QAbstractButton>
#include <QHash>
#include <QLineEdit>
#include <QStyle>

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

constexpr double leastContrast = 4.5;
/// Disabled text may have less contrast, but must be readable.
constexpr double leastContrastOfDisabled = 2;
/// The width that the names of a monitor always have.
constexpr int leastNames = 80;
/// The width of a frame and of the ring that shows the focus.
constexpr int frame = 4;

/// The window as it is painted.
class Picture final {
public:
    explicit Picture(QWidget& window)
        : m_window(window)
        , m_image(window.grab().toImage()) {}

    /// The part of the widget's `area` that is visible, in the window's coordinates.
    QRect seen(const QWidget* widget, const QRect& area) const {
        const QRect visible = widget->visibleRegion().boundingRect() & area;
        return {widget->mapTo(&m_window, visible.topLeft()), visible.size()};
    }

    QColor colorAt(const QPoint& place) const {
        const QPoint pixel = place * m_image.devicePixelRatio();
        return m_image.rect().contains(pixel) ? m_image.pixelColor(pixel) : QColor();
    }

    /// The highest contrast of any pixel in the area with the area's most frequent colour.
    double strongest(const QRect& area) const {
        const double scale = m_image.devicePixelRatio();
        const QRect pixels = QRect(area.topLeft() * scale, area.size() * scale) & m_image.rect();
        QHash<QRgb, int> colors;
        for (int y = pixels.top(); y <= pixels.bottom(); ++y) {
            for (int x = pixels.left(); x <= pixels.right(); ++x) {
                colors[m_image.pixel(x, y)] += 1;
            }
        }
        QRgb background = 0;
        int most = 0;
        for (auto it = colors.cbegin(); it != colors.cend(); ++it) {
            if (it.value() > most) {
                most = it.value();
                background = it.key();
            }
        }
        double best = 1;
        for (auto it = colors.keyBegin(); it != colors.keyEnd(); ++it) {
            best = std::max(best, contrast(QColor(*it), QColor(background)));
        }
        return best;
    }

private:
    QWidget& m_window;
    QImage m_image;
};

QColor over(const QColor& color, const QColor& background) {
    const float alpha = color.alphaF();
    return QColor::fromRgbF(color.redF() * alpha + background.redF() * (1 - alpha),
                            color.greenF() * alpha + background.greenF() * (1 - alpha),
                            color.blueF() * alpha + background.blueF() * (1 - alpha));
}

void judge(QStringList& found, const QWidget* widget, const char* what, double ratio) {
    if (ratio < (widget->isEnabled() ? leastContrast : leastContrastOfDisabled)) {
        found << u"pale: %1 of %2, %3"_s.arg(QString::fromLatin1(what), describe(widget)).arg(ratio);
    }
}

void judgeLabels(QStringList& found, const QWidget& window, const Picture& picture) {
    for (const TextLabel* label : window.findChildren<TextLabel*>()) {
        // The background of a label has the colour of its corner.
        const QColor background = picture.colorAt(label->mapTo(&window, QPoint(0, 0)));
        if (label->isVisible() && !label->text().isEmpty() && background.isValid()) {
            const QColor text = label->palette().color(QPalette::Active, QPalette::WindowText);
            judge(found, label, "text", contrast(text, background));
        }
    }
}

void judgeButtons(QStringList& found, const QWidget& window, const Picture& picture) {
    for (const QAbstractButton* button : window.findChildren<QAbstractButton*>()) {
        if (!button->isVisible() || button->text().isEmpty()) {
            continue;
        }
        QRect text = button->rect().adjusted(frame, frame, -frame, -frame);
        if (qobject_cast<const Switch*>(button) != nullptr) {
            // The track is left out.
            text.setWidth(button->fontMetrics().size(Qt::TextShowMnemonic, button->text()).width());
        }
        const QRect seen = picture.seen(button, text);
        if (seen.size() == text.size()) {
            judge(found, button, "text", picture.strongest(seen));
        }
    }
}

/// Judges a field or box: its text or its placeholder.
template <class Field>
void judgeFields(QStringList& found, const QWidget& window, const Picture& picture) {
    for (const Field* field : window.findChildren<Field*>()) {
        const QRect inside = picture.seen(field, field->rect().adjusted(frame, frame, -frame, -frame));
        if (!field->isVisible() || inside.isEmpty()) {
            continue;
        }
        const QColor background = picture.colorAt(inside.topLeft());
        const QPalette& palette = field->palette();
        judge(found, field, "text", contrast(palette.color(QPalette::Active, QPalette::Text), background));
        if (!field->placeholderText().isEmpty()) {
            const QColor placeholder = palette.color(QPalette::Active, QPalette::PlaceholderText);
            judge(found, field, "placeholder", contrast(over(placeholder, background), background));
        }
    }
}

/// The part of a row that is seen; given as for those who read from the left.
QRect seenPart(const MonitorRows& list, const QRect& row, const QRect& part, const Picture& picture) {
    return picture.seen(list.viewport(), QStyle::visualRect(list.layoutDirection(), row, part));
}

void judgeNames(QStringList& found, const MonitorRows& list, int row, const Picture& picture) {
    const auto* model = static_cast<const MonitorModel*>(list.model());
    const MonitorRow& monitor = model->monitor(model->index(row));
    const QRect area = list.visualRect(model->index(row));
    QRect names = area.adjusted(24, 0, -240, -1);
    // Their beginning: the strip of heartbeats is no text.
    names.setWidth(std::min(names.width(), leastNames));
    const int nameHeight = QFontMetrics(fontOf(TextStyle::body)).lineSpacing();
    const int groupHeight = monitor.group.isEmpty() ? 0 : QFontMetrics(fontOf(TextStyle::caption)).lineSpacing();
    const int top = names.top() + (names.height() - nameHeight - groupHeight) / 2;
    const QRect name(names.left(), top, names.width(), nameHeight);
    const QRect group(names.left(), top + nameHeight, names.width(), groupHeight);
    if (!monitor.name.isEmpty()) {
        judge(found, &list, "name", picture.strongest(seenPart(list, area, name, picture)));
    }
    if (groupHeight > 0) {
        judge(found, &list, "group", picture.strongest(seenPart(list, area, group, picture)));
    }
}

/// Judges the visible rows. From left to right, a row has the names one above the other, the status word and the
/// response time.
void judgeRows(QStringList& found, const QWidget& window, const Picture& picture) {
    for (const MonitorRows* list : window.findChildren<MonitorRows*>()) {
        const int count = list->isVisible() ? list->model()->rowCount() : 0;
        for (int row = 0; row < std::min(count, 20); ++row) {
            const QRect area = list->visualRect(list->model()->index(row, 0));
            if (picture.seen(list->viewport(), area).size() != area.size()) {
                continue;
            }
            const QRect words = area.adjusted(area.width() - 180, frame, -90, -frame);
            const QRect times = area.adjusted(area.width() - 84, frame, -frame, -frame);
            judge(found, list, "status word", picture.strongest(seenPart(*list, area, words, picture)));
            judge(found, list, "time", picture.strongest(seenPart(*list, area, times, picture)));
            judgeNames(found, *list, row, picture);
        }
    }
}

} // namespace

QStringList paleTexts(QWidget& window) {
    QStringList found;
    const Picture picture(window);
    judgeLabels(found, window, picture);
    judgeButtons(found, window, picture);
    judgeFields<QLineEdit>(found, window, picture);
    judgeFields<TextBox>(found, window, picture);
    judgeRows(found, window, picture);
    return found;
}

} // namespace orvanel::test
