#pragma once

class QLayout;
class QPushButton;

namespace orvanel {

struct ViewContext;

/// The button "Get Homebrew", which opens the page that tells how to install it.
QPushButton* addGetHomebrewButton(QLayout* layout, const ViewContext& context);

} // namespace orvanel
