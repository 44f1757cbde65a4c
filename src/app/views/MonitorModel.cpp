#include "app/views/MonitorModel.h"

#include "app/views/HeartbeatText.h"
#include "app/widgets/PlainText.h"
#include "platform/ShortText.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

/// Half as long as a tooltip, so that the group fits below the longest name.
constexpr qsizetype longestName = 500;

QString namesOf(const MonitorRow& monitor) {
    if (monitor.group.isEmpty()) {
        return monitor.name;
    }
    return shortened(monitor.name, longestName) + u'\n' + monitor.group;
}

bool haveSameIds(const QList<MonitorRow>& one, const QList<MonitorRow>& other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](const MonitorRow& a, const MonitorRow& b) { return a.id == b.id; });
}

} // namespace

MonitorStatus monitorStatus(std::optional<std::int64_t> code) {
    switch (code.value_or(-1)) {
    case 0:
        return {u"Down"_s, Meaning::bad};
    case 1:
        return {u"Up"_s, Meaning::good};
    case 2:
        return {u"Pending"_s, Meaning::pending};
    case 3:
        return {u"Maintenance"_s, Meaning::maintenance};
    default:
        return {u"No data"_s, Meaning::inactive};
    }
}

QString pingText(std::optional<std::int64_t> ping) {
    return ping ? u"%1 ms"_s.arg(*ping) : u"–"_s;
}

QString spokenMonitor(const MonitorRow& monitor) {
    QString spoken = monitor.name;
    if (!monitor.group.isEmpty()) {
        spoken += u", "_s + monitor.group;
    }
    spoken += u", "_s + monitorStatus(monitor.status).word;
    if (monitor.ping) {
        spoken += u", "_s + pingText(monitor.ping);
    }
    if (!monitor.beats.isEmpty()) {
        spoken += u", "_s + heartbeatSummary(monitor.beats);
    }
    return spoken;
}

QString MonitorModel::spokenRow(const QModelIndex& index) const {
    const MonitorRow& row = monitor(index);
    const std::optional<int> chosen = chosenBeat(index);
    return chosen ? heartbeatText(row.beats.fromNewest(*chosen), QDate::currentDate()) + u", "_s + row.name
                  : spokenMonitor(row);
}

int MonitorModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_monitors.size());
}

QVariant MonitorModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= m_monitors.size()) {
        return {};
    }
    switch (role) {
    case Qt::DisplayRole:
        return monitor(index).name;
    case Qt::ToolTipRole:
        return plainToolTip(namesOf(monitor(index)));
    case Qt::AccessibleTextRole:
        return spokenRow(index);
    default:
        return {};
    }
}

void MonitorModel::setMonitors(const QList<MonitorRow>& monitors) {
    if (haveSameIds(monitors, m_monitors)) {
        const QList<MonitorRow> old = std::exchange(m_monitors, monitors);
        m_choice = choiceSince(old);
        tellChanges(old);
        return;
    }
    beginResetModel();
    const QList<MonitorRow> old = std::exchange(m_monitors, monitors);
    m_choice = choiceSince(old);
    endResetModel();
}

std::optional<MonitorModel::Choice> MonitorModel::choiceSince(const QList<MonitorRow>& old) const {
    if (!m_choice) {
        return std::nullopt;
    }
    const MonitorRow& before = old[m_choice->row];
    const bool isInPlace = m_choice->row < m_monitors.size() && m_monitors[m_choice->row].id == before.id;
    const int row = isInPlace ? m_choice->row : rowOf(before.id);
    if (row < 0) {
        return std::nullopt;
    }
    const Heartbeats& beats = m_monitors[row].beats;
    const auto* const found = std::find(beats.begin(), beats.end(), before.beats.fromNewest(m_choice->fromNewest));
    return found != beats.end() ? std::optional(Choice{row, static_cast<int>(beats.end() - found) - 1}) : std::nullopt;
}

void MonitorModel::chooseBeat(const QModelIndex& index, int fromNewest) {
    forgetBeat();
    m_choice = Choice{index.row(), fromNewest};
    Q_EMIT dataChanged(index, index);
}

bool MonitorModel::forgetBeat() {
    const std::optional<Choice> choice = std::exchange(m_choice, std::nullopt);
    if (choice) {
        Q_EMIT dataChanged(index(choice->row), index(choice->row));
    }
    return choice.has_value();
}

std::optional<int> MonitorModel::chosenBeat(const QModelIndex& index) const {
    return m_choice && m_choice->row == index.row() ? std::optional(m_choice->fromNewest) : std::nullopt;
}

/// One signal for all rows from the first that differs to the last: views repaint only those that are visible.
void MonitorModel::tellChanges(const QList<MonitorRow>& old) {
    const auto first = std::mismatch(m_monitors.begin(), m_monitors.end(), old.begin()).first;
    if (first == m_monitors.end()) {
        return;
    }
    const auto last = std::mismatch(m_monitors.rbegin(), m_monitors.rend(), old.rbegin()).first;
    const auto firstRow = static_cast<int>(first - m_monitors.begin());
    const auto lastRow = static_cast<int>(m_monitors.rend() - last) - 1;
    Q_EMIT dataChanged(index(firstRow), index(lastRow));
}

int MonitorModel::rowOf(std::int64_t id) const {
    const auto found = std::find_if(m_monitors.begin(), m_monitors.end(),
                                    [id](const MonitorRow& monitor) { return monitor.id == id; });
    return found == m_monitors.end() ? -1 : static_cast<int>(found - m_monitors.begin());
}

} // namespace orvanel
