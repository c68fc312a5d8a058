#include "DocumentListTest.h"
#include "IndexStatusWindowTest.h"
#include "ui/support/UiTest.h"

SIFTWELL_UI_TESTS(siftwell::DocumentListTest, siftwell::IndexStatusWindowTest)
