#include "app/views/Homebrew.h"

#include "app/views/View.h"
#include "app/widgets/Buttons.h"
#include "platform/Desktop.h"

using namespace Qt::StringLiterals;

namespace orvanel {

QPushButton* addGetHomebrewButton(QLayout* layout, const ViewContext& context) {
    return addButton(layout, u"Get Homebrew"_s,
                     [context] { context.desktop.openAddress(QUrl(u"https://brew.sh/"_s)); });
}

} // namespace orvanel
