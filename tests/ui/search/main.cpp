#include "MiniSearchTest.h"
#include "ResultModelTest.h"
#include "SearchWindowTest.h"
#include "ui/support/UiTest.h"

SIFTWELL_UI_TESTS(siftwell::ResultModelTest, siftwell::SearchWindowTest, siftwell::MiniSearchTest)
