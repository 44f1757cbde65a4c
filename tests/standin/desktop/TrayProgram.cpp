// A small program with a status icon and a window, for the test of the stand-in desktop: `standin-tray-program`, on the
// xcb platform.

#include <QApplication>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QSystemTrayIcon>
#include <QVBoxLayout>

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

    QWidget window;
    auto* label = new QLabel(QStringLiteral("Nothing yet"));
    auto* button = new QPushButton(QStringLiteral("Press me"));
    auto* layout = new QVBoxLayout(&window);
    layout->addWidget(label);
    layout->addWidget(button);
    layout->addWidget(new QPushButton(QStringLiteral("Not for you")));
    layout->itemAt(2)->widget()->setEnabled(false);
    QObject::connect(button, &QPushButton::clicked, label, [=] { label->setText(QStringLiteral("Pressed")); });
    window.show();
    return QApplication::exec();
}
