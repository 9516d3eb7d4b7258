#include "TestMain.h"
#include "tst_net.h"

VELMORA_TEST_MAIN(TelnetTest, NetLinkTest, Ser2netTest)
