#include "TestMain.h"
#include "tst_app.h"

int main(int argc, char** argv)
{
    return runTests<MainFrameTest, CommandPanelTest, ViewsTest, HeadlessTest>(argc, argv);
}
