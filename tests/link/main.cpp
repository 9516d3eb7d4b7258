#include "TestMain.h"
#include "tst_framing.h"
#include "tst_maintenance.h"
#include "tst_runcontrol.h"

VELMORA_TEST_MAIN(FramingTest, RunControlTest, MaintenanceTest)
