#include "TestMain.h"
#include "tst_display.h"

int main(int argc, char** argv)
{
    return runTests<TestShowArr, TestTrendGraph, TestGraphScales>(argc, argv);
}
