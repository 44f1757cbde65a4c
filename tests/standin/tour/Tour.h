#pragma once

#include "Stage.h"

#include <QElapsedTimer>
#include <QTimer>

#include <chrono>
#include <functional>
#include <vector>

namespace orvanel::standin {

/// One stop of the tour: something is done, something must then be seen, and a picture is taken of it.
struct Step {
    /// What a person would say that happens here.
    QString what;
    std::function<void(Stage& stage)> act;
    /// What is not as it should be yet; empty when all is. Asked again and again until `limit` has passed.
    std::function<QString(Stage& stage)> missing;
    /// Part of the picture's file name; empty for no picture.
    QString picture;
    std::chrono::seconds limit{30};
    /// Where the program is to be gone; everywhere else its end is a failure.
    bool programEnds = false;
};

/// Walks through the steps one after the other, prints a line for each, and stops at the first one that fails.
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
    void wait();
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
