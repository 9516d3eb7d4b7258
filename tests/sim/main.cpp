#include "TestMain.h"
#include "tst_simline.h"
#include "tst_simparts.h"
#include "tst_simrate.h"

VELMORA_TEST_MAIN(TestSimParts, TestSimLine, TestSimRate)
