#include "app/views/StateCard.h"

namespace orvanel {

StateCard stateCardFor(const std::optional<QString>& setupBusy, DockerState dockerState, bool pulling,
                       const std::optional<QString>& busy, KumaState kuma) {
    if (setupBusy) {
        return StateCard::setup;
    }
    if (dockerState == DockerState::missing) {
        return StateCard::dockerMissing;
    }
    if (dockerState == DockerState::notRunning) {
        return StateCard::dockerNotRunning;
    }
    if (pulling) {
        return StateCard::pull;
    }
    if (busy) {
        return StateCard::busy;
    }
    if (kuma == KumaState::stopped || dockerState == DockerState::unknown) {
        return StateCard::start;
    }
    return StateCard::dashboard;
}

} // namespace orvanel
