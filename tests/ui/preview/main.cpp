#include "WebPreviewPaneTest.h"
#include "WordMarkerTest.h"
#include "ui/support/UiTest.h"

SIFTWELL_UI_TESTS(siftwell::WordMarkerTest, siftwell::WebPreviewPaneTest)
