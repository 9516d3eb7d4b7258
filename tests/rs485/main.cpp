#include "TestMain.h"
#include "tst_bytes.h"
#include "tst_line.h"

VELMORA_TEST_MAIN(BytesTest, LineTest)
