#include "TestMain.h"
#include "tst_app.h"

VELMORA_TEST_MAIN(MainFrameTest, CommandPanelTest, ViewsTest, OperatorShiftTest, ComDialogTest,
                  HeadlessTest)
