#include "TestMain.h"
#include "tst_dialogs.h"
#include "tst_framing.h"
#include "tst_maintenance.h"
#include "tst_runcontrol.h"

int main(int argc, char** argv)
{
    return runTests<FramingTest, RunControlTest, MaintenanceTest, DialogsTest>(argc, argv);
}
