#include "Tour.h"

#include <QTextStream>

using namespace Qt::StringLiterals;

namespace orvanel::standin {
namespace {

using namespace std::chrono_literals;

constexpr auto tickInterval = 50ms;
/// Reading all windows is work for the program too.
constexpr auto readingInterval = 400ms;
/// The time between two pictures that must be equal before the second one is kept.
constexpr auto stillFor = 250ms;
/// After this time a picture is kept anyway, because a spinner or a growing log never stands still.
constexpr auto longestSettling = 1500ms;

std::chrono::milliseconds passedOn(const QElapsedTimer& timer) {
    return std::chrono::milliseconds(timer.elapsed());
}

void say(const QString& line) {
    QTextStream(stdout) << line << Qt::endl;
}

} // namespace

Tour::Tour(Stage& stage, std::vector<Step> steps, QString pictureFolder)
    : m_stage(stage)
    , m_steps(std::move(steps))
    , m_pictureFolder(std::move(pictureFolder)) {
    m_timer.setInterval(tickInterval);
    connect(&m_timer, &QTimer::timeout, this, &Tour::tick);
}

void Tour::start() {
    m_sincePhase.start();
    m_timer.start();
}

void Tour::tick() {
    if (const QString end = m_stage.end(); !end.isEmpty() && !step().programEnds) {
        fail(end);
        return;
    }
    switch (m_phase) {
    case Phase::Acting:
        act();
        break;
    case Phase::Waiting:
        wait();
        break;
    case Phase::Settling:
        settle();
        break;
    }
}

void Tour::act() {
    const QString missing = step().act ? step().act(m_stage) : QString();
    if (missing.isEmpty()) {
        m_stage.reader().forget();
        m_sincePhase.start();
        m_phase = Phase::Waiting;
    } else if (passedOn(m_sincePhase) > step().limit) {
        fail(missing);
    } else {
        read();
    }
}

void Tour::read() {
    if (!m_sinceReading.isValid() || passedOn(m_sinceReading) > readingInterval) {
        m_sinceReading.start();
        m_stage.reader().refresh();
    }
}

void Tour::wait() {
    read();
    const QString missing = step().missing(m_stage);
    if (missing.isEmpty()) {
        m_sincePhase.start();
        m_sincePicture.start();
        m_picture = {};
        m_phase = Phase::Settling;
    } else if (passedOn(m_sincePhase) > step().limit) {
        fail(missing);
    }
}

void Tour::settle() {
    if (step().picture.isEmpty()) {
        finishStep();
        return;
    }
    if (passedOn(m_sincePicture) < stillFor) {
        return;
    }
    QImage picture = m_stage.screen().picture();
    const bool still = picture == m_picture;
    m_picture = std::move(picture);
    m_sincePicture.start();
    if (still || passedOn(m_sincePhase) > longestSettling) {
        finishStep();
    }
}

void Tour::finishStep() {
    const auto number = u"%1"_s.arg(m_index + 1, 2, 10, QChar(u'0'));
    QString line = number + u"  "_s + step().what;
    if (!step().picture.isEmpty()) {
        const QString name = number + u'-' + step().picture + u".png"_s;
        if (!m_picture.save(m_pictureFolder + u'/' + name)) {
            fail(u"the picture %1 could not be written"_s.arg(name));
            return;
        }
        line += u" (%1)"_s.arg(name);
    }
    say(line);
    m_sincePhase.start();
    m_phase = Phase::Acting;
    m_index += 1;
    if (m_index == m_steps.size()) {
        m_timer.stop();
        Q_EMIT finished(true);
    }
}

void Tour::fail(const QString& why) {
    m_timer.stop();
    const QString picture = m_pictureFolder + u"/failed.png"_s;
    m_stage.screen().picture().save(picture);
    for (const ScreenElement& element : m_stage.reader().elements()) {
        if (element.showing && !element.name.isEmpty()) {
            say(u"    %1: %2"_s.arg(element.role, element.name));
        }
    }
    say(u"FAILED at \"%1\": %2. What the screen showed: %3"_s.arg(step().what, why, picture));
    Q_EMIT finished(false);
}

} // namespace orvanel::standin
