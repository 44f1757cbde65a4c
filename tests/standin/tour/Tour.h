#pragma once

#include "Stage.h"

#include <QElapsedTimer>
#include <QTimer>

#include <chrono>
#include <functional>
#include <vector>

namespace orvanel::standin {

/// One step of the tour: it does something, checks what can then be seen, and takes a picture of it.
struct Step {
    /// What happens in this step, in a person's words.
    QString what;
    /// Does it, or says what is not there yet to do it with. Called repeatedly until it is done or `limit` has passed.
    std::function<QString(Stage& stage)> act;
    /// What is not yet as it should be; empty if everything is. Called repeatedly, until `limit` has passed.
    std::function<QString(Stage& stage)> missing;
    /// A part of the picture's file name; empty for no picture.
    QString picture;
    std::chrono::seconds limit{30};
    /// Whether the program must end in this step; in any other step its end is a failure.
    bool programEnds = false;
};

/// Does the steps one after the other, prints a line for each, and stops at the first one that fails.
class Tour final : public QObject {
    Q_OBJECT

public:
    Tour(Stage& stage, std::vector<Step> steps, QString pictureFolder);

    void start();

Q_SIGNALS:
    void finished(bool wentWell);

private:
    enum class Phase { Acting, Waiting, Settling };

    void tick();
    void act();
    void wait();
    void read();
    void settle();
    void finishStep();
    void fail(const QString& why);

    const Step& step() const { return m_steps[m_index]; }

    Stage& m_stage;
    const std::vector<Step> m_steps;
    const QString m_pictureFolder;
    QTimer m_timer;
    QElapsedTimer m_sincePhase;
    QElapsedTimer m_sincePicture;
    QElapsedTimer m_sinceReading;
    std::size_t m_index = 0;
    Phase m_phase = Phase::Acting;
    QImage m_picture;
};

/// The steps of the demo, in order.
std::vector<Step> demoSteps();

} // namespace orvanel::standin
