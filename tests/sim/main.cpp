#include "TestMain.h"
#include "tst_simline.h"
#include "tst_simparts.h"

int main(int argc, char** argv)
{
    return runTests<TestSimParts, TestSimLine>(argc, argv);
}
