#include "TestMain.h"
#include "tst_graphScales.h"
#include "tst_showArr.h"
#include "tst_trendGraph.h"

int main(int argc, char** argv)
{
    return runTests<TestShowArr, TestTrendGraph, TestGraphScales>(argc, argv);
}
