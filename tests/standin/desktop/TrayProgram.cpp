// A small program with a status icon, for the test of the stand-in desktop: `standin-tray-program`, on the xcb
// platform.

#include <QApplication>
#include <QMenu>
#include <QPainter>
#include <QPixmap>
#include <QSystemTrayIcon>

namespace {

QIcon dot(Qt::GlobalColor color) {
    QIcon icon;
    for (const int size : {16, 22, 32}) {
        QPixmap pixmap(size, size);
        pixmap.fill(color);
        icon.addPixmap(pixmap);
    }
    return icon;
}

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);

    QSystemTrayIcon icon(dot(Qt::gray));
    icon.setToolTip(QStringLiteral("At rest"));
    QMenu menu;
    QAction* line = menu.addAction(QStringLiteral("At rest"));
    line->setEnabled(false);
    menu.addSeparator();
    QAction* go = menu.addAction(QStringLiteral("Go"));
    menu.addAction(QStringLiteral("Hidden"))->setVisible(false);
    menu.addAction(QStringLiteral("Under__score && more"));
    QAction* quit = menu.addAction(QStringLiteral("Quit"));
    quit->setShortcut(QKeySequence(QStringLiteral("Ctrl+Q")));

    QObject::connect(go, &QAction::triggered, &menu, [&] {
        icon.setIcon(dot(Qt::green));
        icon.setToolTip(QStringLiteral("On the way"));
        line->setText(QStringLiteral("On the way"));
        go->setEnabled(false);
    });
    QObject::connect(quit, &QAction::triggered, &menu, [] { QApplication::exit(7); });
    icon.setContextMenu(&menu);
    icon.show();
    return QApplication::exec();
}
