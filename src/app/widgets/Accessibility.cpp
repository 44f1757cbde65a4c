#include "app/widgets/Accessibility.h"

#include <QVariant>
#include <QWidget>

namespace orvanel {
namespace {

constexpr char roleProperty[] = "accessibleRole";

QAccessibleInterface* makeFace(const QString&, QObject* object) {
    auto* widget = qobject_cast<QWidget*>(object);
    const QVariant role = widget != nullptr ? widget->property(roleProperty) : QVariant();
    if (!role.isValid()) {
        return nullptr;
    }
    return new QAccessibleWidget(widget, static_cast<QAccessible::Role>(role.toInt()));
}

} // namespace

void setAccessibleRole(QWidget* widget, QAccessible::Role role) {
    static const bool isInstalled = [] {
        QAccessible::installFactory(&makeFace);
        return true;
    }();
    Q_UNUSED(isInstalled)
    widget->setProperty(roleProperty, static_cast<int>(role));
}

} // namespace orvanel
