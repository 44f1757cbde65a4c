#pragma once

#include "app/views/Card.h"
#include "controller/ControllerState.h"

namespace orvanel {

class LogBox;

/// The one card that the main window shows for the controller's state. DockerCards.h and DashboardView.h have those
/// that are not below.
enum class StateCard { setup, dockerMissing, dockerNotRunning, pull, busy, start, dashboard };

/// The first that fits: setup, Docker's trouble, download, operation, stopped, running.
StateCard stateCardFor(const ControllerState& state);

/// A Docker runtime is being installed or started.
class SetupCard final : public Card {
    Q_OBJECT

public:
    explicit SetupCard(ViewContext context, QWidget* parent = nullptr);

    void render() override;

private:
    ViewContext m_context;
    TextLabel* m_step;
    LogBox* m_log;
};

/// The Uptime Kuma image is being downloaded.
class PullCard final : public Card {
    Q_OBJECT

public:
    explicit PullCard(ViewContext context, QWidget* parent = nullptr);

    void render() override;

private:
    ViewContext m_context;
    LogBox* m_log;
};

/// Another operation is under way.
class BusyCard final : public Card {
    Q_OBJECT

public:
    explicit BusyCard(ViewContext context, QWidget* parent = nullptr);

    void render() override;

private:
    ViewContext m_context;
    TextLabel* m_text;
    QPushButton* m_cancel;
};

/// Uptime Kuma is stopped, or the state of Docker is not known yet.
class StartCard final : public Card {
    Q_OBJECT

public:
    explicit StartCard(ViewContext context, QWidget* parent = nullptr);

    void render() override;
    QPushButton* defaultButton() const override { return m_start; }

private:
    ViewContext m_context;
    TextLabel* m_heading;
    TextLabel* m_explanation;
    QPushButton* m_start;
};

} // namespace orvanel
