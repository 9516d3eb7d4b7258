#include "TestMain.h"
#include "tst_simline.h"
#include "tst_simparts.h"
#include "tst_simrate.h"

int main(int argc, char** argv)
{
    return runTests<TestSimParts, TestSimLine, TestSimRate>(argc, argv);
}
