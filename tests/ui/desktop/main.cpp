#include "ui/desktop/DesktopTest.h"
#include "ui/desktop/PortalHotKeyGrabTest.h"
#include "ui/desktop/X11HotKeyGrabTest.h"
#include "ui/support/UiTest.h"

// As a program of its own, this one grabs the key for X11HotKeyGrabTest.
int main(int argc, char** argv) {
    if (qEnvironmentVariableIsSet("SIFTWELL_TEST_GRAB")) {
        return siftwell::grabAndTell(argc, argv);
    }
    return siftwell::runUiTests<siftwell::DesktopTest, siftwell::PortalHotKeyGrabTest,
                                siftwell::X11HotKeyGrabTest>(argc, argv);
}
