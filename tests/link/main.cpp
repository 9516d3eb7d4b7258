#include "TestMain.h"
#include "tst_link.h"

int main(int argc, char** argv)
{
    return runTests<FramingTest, ReplyTest, RunControlTest, FormatDialogTest>(argc, argv);
}
