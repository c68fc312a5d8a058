#include "ui/desktop/DesktopTest.h"
#include "ui/desktop/PortalHotKeyGrabTest.h"
#include "ui/desktop/X11Test.h"
#include "ui/support/UiTest.h"

// Some of X11Test's programs are this one.
int main(int argc, char** argv) {
    const QString role = qEnvironmentVariable("SIFTWELL_TEST_ROLE");
    if (!role.isEmpty()) return siftwell::playRole(role, argc, argv);
    return siftwell::runUiTests<siftwell::DesktopTest, siftwell::PortalHotKeyGrabTest,
                                siftwell::X11Test>(argc, argv);
}
