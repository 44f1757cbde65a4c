// A small program with a status icon and a window, for the test of the stand-in desktop. Run it on the xcb platform:
// `standin-tray-program`.

#include <QApplication>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QSystemTrayIcon>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

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
    icon.setToolTip(u"At rest"_s);
    QMenu menu;
    QAction* line = menu.addAction(u"At rest"_s);
    line->setEnabled(false);
    menu.addSeparator();
    QAction* go = menu.addAction(u"Go"_s);
    menu.addAction(u"Hidden"_s)->setVisible(false);
    menu.addAction(u"Under__score && more"_s);
    QAction* quit = menu.addAction(u"Quit"_s);
    quit->setShortcut(QKeySequence(u"Ctrl+Q"_s));

    QObject::connect(go, &QAction::triggered, &menu, [&] {
        icon.setIcon(dot(Qt::green));
        icon.setToolTip(u"On the way"_s);
        line->setText(u"On the way"_s);
        go->setEnabled(false);
    });
    QObject::connect(quit, &QAction::triggered, &menu, [] { QApplication::exit(7); });
    icon.setContextMenu(&menu);
    icon.show();

    QWidget window;
    auto* label = new QLabel(u"Nothing yet"_s);
    auto* button = new QPushButton(u"Press me"_s);
    auto* layout = new QVBoxLayout(&window);
    layout->addWidget(label);
    layout->addWidget(button);
    layout->addWidget(new QPushButton(u"Not for you"_s));
    layout->itemAt(2)->widget()->setEnabled(false);
    QObject::connect(button, &QPushButton::clicked, label, [=] { label->setText(u"Pressed"_s); });
    window.show();
    return QApplication::exec();
}
