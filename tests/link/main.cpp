#include "TestMain.h"
#include "tst_framing.h"
#include "tst_runcontrol.h"

int main(int argc, char** argv)
{
    return runTests<FramingTest, RunControlTest>(argc, argv);
}
