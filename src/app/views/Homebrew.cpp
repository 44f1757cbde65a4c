#include "app/views/Homebrew.h"

#include "app/views/View.h"
#include "app/widgets/Buttons.h"
#include "platform/Desktop.h"

namespace orvanel {

QPushButton* addGetHomebrewButton(QLayout* layout, const ViewContext& context) {
    return addButton(layout, QStringLiteral("Get Homebrew"),
                     [context] { context.desktop.openAddress(QUrl(QStringLiteral("https://brew.sh/"))); });
}

} // namespace orvanel
