#include "SessionManager.h"

#include <QSocketNotifier>

#include <array>
#include <cstdlib>
#include <cstring>
#include <vector>

// This header comes last, because it defines common words as macros.
#include <X11/SM/SMlib.h>

namespace orvanel::test {
namespace {

/// The protocol greets a program with a request to save its work; the program is ready when it has answered.
enum class Phase { nobody, greeted, ready, ending, saved };

} // namespace

struct SessionManager::Session {
    int listenerCount = 0;
    IceListenObj* listeners = nullptr;
    QString address;
    std::vector<std::unique_ptr<QSocketNotifier>> notifiers;

    SmsConn program = nullptr;
    Phase phase = Phase::nobody;
    bool succeeded = false;
    std::optional<int> restartStyle;

    static Session* of(SmPointer data) { return static_cast<Session*>(data); }

    void accept(IceListenObj listener);
    void read(IceConn connection, QSocketNotifier* notifier);
    void takeReply(bool success);
    void takeProperties(int count, SmProp** properties);
    void takeCallbacks(SmsCallbacks* callbacks);
};

void SessionManager::Session::accept(IceListenObj listener) {
    IceAcceptStatus status = IceAcceptFailure;
    const IceConn connection = IceAcceptConnection(listener, &status);
    if (connection == nullptr || status != IceAcceptSuccess) {
        return;
    }
    notifiers.push_back(std::make_unique<QSocketNotifier>(IceConnectionNumber(connection), QSocketNotifier::Read));
    QSocketNotifier* const notifier = notifiers.back().get();
    QObject::connect(notifier, &QSocketNotifier::activated, notifier,
                     [this, connection, notifier] { read(connection, notifier); });
}

void SessionManager::Session::read(IceConn connection, QSocketNotifier* notifier) {
    if (IceProcessMessages(connection, nullptr, nullptr) == IceProcessMessagesSuccess) {
        return;
    }
    notifier->setEnabled(false);
    program = nullptr;
}

void SessionManager::Session::takeReply(bool success) {
    SmsSaveComplete(program);
    if (phase == Phase::greeted) {
        phase = Phase::ready;
    } else if (phase == Phase::ending) {
        phase = Phase::saved;
        succeeded = success;
    }
}

void SessionManager::Session::takeProperties(int count, SmProp** properties) {
    for (int i = 0; i < count; ++i) {
        SmProp* const property = properties[i];
        if (std::strcmp(property->name, SmRestartStyleHint) == 0 && property->num_vals == 1) {
            restartStyle = *static_cast<const char*>(property->vals->value);
        }
        SmFreeProperty(property);
    }
    std::free(static_cast<void*>(properties));
}

void SessionManager::Session::takeCallbacks(SmsCallbacks* callbacks) {
    *callbacks = {};
    callbacks->register_client = {[](SmsConn client, SmPointer data, char* previous) -> Status {
                                      if (previous != nullptr) {
                                          std::free(previous);
                                          return 0;
                                      }
                                      char* const id = SmsGenerateClientID(client);
                                      SmsRegisterClientReply(client, id);
                                      std::free(id);
                                      of(data)->phase = Phase::greeted;
                                      SmsSaveYourself(client, SmSaveLocal, False, SmInteractStyleNone, False);
                                      return 1;
                                  },
                                  this};
    callbacks->interact_request = {[](SmsConn client, SmPointer, int) { SmsInteract(client); }, this};
    callbacks->interact_done = {[](SmsConn, SmPointer, Bool) {}, this};
    callbacks->save_yourself_request = {[](SmsConn, SmPointer, int, Bool, int, Bool, Bool) {}, this};
    callbacks->save_yourself_phase2_request = {[](SmsConn client, SmPointer) { SmsSaveYourselfPhase2(client); }, this};
    callbacks->save_yourself_done = {
        [](SmsConn, SmPointer data, Bool success) { of(data)->takeReply(success != False); }, this};
    callbacks->close_connection = {[](SmsConn client, SmPointer data, int count, char** reasons) {
                                       SmFreeReasons(count, reasons);
                                       of(data)->program = nullptr;
                                       const IceConn connection = SmsGetIceConnection(client);
                                       SmsCleanUp(client);
                                       IceSetShutdownNegotiation(connection, False);
                                       IceCloseConnection(connection);
                                   },
                                   this};
    callbacks->set_properties = {
        [](SmsConn, SmPointer data, int count, SmProp** properties) { of(data)->takeProperties(count, properties); },
        this};
    callbacks->delete_properties = {[](SmsConn, SmPointer, int count, char** names) {
                                        for (int i = 0; i < count; ++i) {
                                            std::free(names[i]);
                                        }
                                        std::free(static_cast<void*>(names));
                                    },
                                    this};
    callbacks->get_properties = {[](SmsConn client, SmPointer) { SmsReturnProperties(client, 0, nullptr); }, this};
}

SessionManager::SessionManager()
    : m_session(std::make_unique<Session>()) {
    std::array<char, 256> error{};
    constexpr auto room = 256;
    const auto meet = [](SmsConn client, SmPointer data, unsigned long* mask, SmsCallbacks* callbacks,
                         char**) -> Status {
        // The library requires all of these callbacks.
        *mask = SmsRegisterClientProcMask | SmsInteractRequestProcMask | SmsInteractDoneProcMask |
                SmsSaveYourselfRequestProcMask | SmsSaveYourselfP2RequestProcMask | SmsSaveYourselfDoneProcMask |
                SmsCloseConnectionProcMask | SmsSetPropertiesProcMask | SmsDeletePropertiesProcMask |
                SmsGetPropertiesProcMask;
        Session::of(data)->program = client;
        Session::of(data)->takeCallbacks(callbacks);
        return 1;
    };
    const auto letIn = [](char*) -> Bool { return True; };
    // Unread messages to a program that has ended must not end this one.
    IceSetIOErrorHandler([](IceConn) {});
    if (SmsInitialize("Orvanel", "1", meet, m_session.get(), letIn, room, error.data()) == 0 ||
        IceListenForConnections(&m_session->listenerCount, &m_session->listeners, room, error.data()) == 0) {
        qFatal("no session manager: %s", error.data());
    }
    char* const ids = IceComposeNetworkIdList(m_session->listenerCount, m_session->listeners);
    m_session->address = QString::fromLocal8Bit(ids);
    std::free(ids);
    for (int i = 0; i < m_session->listenerCount; ++i) {
        const IceListenObj listener = m_session->listeners[i];
        IceSetHostBasedAuthProc(listener, letIn);
        m_session->notifiers.push_back(
            std::make_unique<QSocketNotifier>(IceGetListenConnectionNumber(listener), QSocketNotifier::Read));
        Session* const session = m_session.get();
        connect(m_session->notifiers.back().get(), &QSocketNotifier::activated, this,
                [session, listener] { session->accept(listener); });
    }
}

SessionManager::~SessionManager() {
    m_session->notifiers.clear();
    IceFreeListenObjs(m_session->listenerCount, m_session->listeners);
}

QString SessionManager::address() const {
    return m_session->address;
}

bool SessionManager::hasProgram() const {
    return m_session->program != nullptr && m_session->phase == Phase::ready;
}

void SessionManager::endSession() {
    m_session->phase = Phase::ending;
    SmsSaveYourself(m_session->program, SmSaveBoth, True, SmInteractStyleAny, False);
}

std::optional<bool> SessionManager::saved() const {
    return m_session->phase == Phase::saved ? std::optional(m_session->succeeded) : std::nullopt;
}

void SessionManager::die() {
    SmsDie(m_session->program);
}

std::optional<int> SessionManager::restartStyle() const {
    return m_session->restartStyle;
}

} // namespace orvanel::test
