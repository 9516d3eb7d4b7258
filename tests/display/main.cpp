#include "TestMain.h"
#include "tst_graphScales.h"
#include "tst_showArr.h"
#include "tst_trendGraph.h"

VELMORA_TEST_MAIN(TestShowArr, TestTrendGraph, TestGraphScales)
