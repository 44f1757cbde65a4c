#pragma once

#include "statuspage/MonitorRow.h"

#include <QWidget>

namespace orvanel {

class Dot;
class TextLabel;

/// One monitor: its dot, its name and its status in a word.
class MonitorRowView final : public QWidget {
    Q_OBJECT

public:
    explicit MonitorRowView(QWidget* parent = nullptr);

    void setMonitor(const MonitorRow& monitor);

private:
    Dot* m_dot;
    TextLabel* m_name;
    TextLabel* m_word;
};

} // namespace orvanel
