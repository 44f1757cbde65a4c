#pragma once

#include "ControllerFixture.h"
#include "app/views/View.h"

namespace orvanel::test {

/// The world in which a scene is made: a controller whose user has seen the guide.
class GalleryWorld final : public ControllerFixture {
public:
    GalleryWorld();
    ~GalleryWorld();

    ViewContext context() {
        return {controller(), desktop, clock, [](const QString&) {}};
    }
    /// Lets the controller look around once.
    void poll();
    /// Moves the clock until the condition holds; ends the program if it never does.
    void advanceUntil(const std::function<bool()>& condition);
};

} // namespace orvanel::test
