#include "WebPreviewPaneTest.h"
#include "WordMarkerTest.h"
#include "ui/preview/PreviewScheme.h"
#include "ui/support/UiTest.h"

int main(int argc, char** argv) {
    siftwell::registerPreviewScheme();
    return siftwell::runUiTests<siftwell::WordMarkerTest, siftwell::WebPreviewPaneTest>(argc, argv);
}
