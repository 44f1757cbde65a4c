// A minimal Qt Widgets program with a status icon, a menu and a three-second timer. Orvanel's start and its idle
// footprint are measured against it.

#include <QApplication>
#include <QMenu>
#include <QPainter>
#include <QSystemTrayIcon>
#include <QTimer>

using namespace Qt::StringLiterals;

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);

    QPixmap dot(16, 16);
    dot.fill(Qt::transparent);
    QPainter painter(&dot);
    painter.setBrush(Qt::gray);
    painter.drawEllipse(3, 3, 10, 10);
    painter.end();

    QMenu menu;
    menu.addAction(u"Idle"_s)->setEnabled(false);
    menu.addSeparator();
    QObject::connect(menu.addAction(u"Quit"_s), &QAction::triggered, qApp, &QApplication::quit);

    QSystemTrayIcon icon{QIcon(dot)};
    icon.setContextMenu(&menu);
    icon.setToolTip(u"Idle"_s);
    icon.show();

    qint64 ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] { ticks += 1; });
    timer.start(std::chrono::seconds(3));
    return QApplication::exec();
}
