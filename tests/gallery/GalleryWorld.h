#pragma once

#include "ControllerFixture.h"
#include "app/views/View.h"

namespace orvanel::test {

/// What a scene is made in: a controller with a world of its own, whose user has seen the guide.
class GalleryWorld final : public ControllerFixture {
public:
    GalleryWorld();
    ~GalleryWorld();

    ViewContext context() {
        return {controller(), desktop, clock, [](const QString&) {}};
    }
    /// Lets the controller look around once.
    void poll();
    /// Turns the clock until that holds; ends the program when it never does.
    void advanceUntil(const std::function<bool()>& condition);
};

} // namespace orvanel::test
