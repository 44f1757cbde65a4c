#include "app/WindowPlace.h"

#include "platform/SettingsStore.h"

#include <QEvent>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

class PlaceKeeper final : public QObject {
public:
    PlaceKeeper(QWidget* window, const QString& key, SettingsStore& settings)
        : QObject(window)
        , m_window(window)
        , m_key(key)
        , m_settings(settings) {
        m_window->restoreGeometry(QByteArray::fromBase64(kept().toLatin1()));
        m_window->installEventFilter(this);
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Close) {
            keep();
        }
        return QObject::eventFilter(watched, event);
    }

private:
    QString kept() const { return m_settings.text(m_key, {}); }

    void keep() {
        const QString place = QString::fromLatin1(m_window->saveGeometry().toBase64());
        if (place != kept()) {
            m_settings.setText(m_key, place);
        }
    }

    QWidget* m_window;
    const QString m_key;
    SettingsStore& m_settings;
};

} // namespace

void rememberPlace(QWidget* window, const QString& id, SettingsStore& settings) {
    new PlaceKeeper(window, id + u"Window"_s, settings);
}

} // namespace orvanel
