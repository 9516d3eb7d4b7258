#include "TestMain.h"
#include "tst_simbus.h"
#include "tst_simhost.h"
#include "tst_simparts.h"
#include "tst_simstream.h"

int main(int argc, char** argv)
{
    return runTests<TestSimParts, TestSimStream, TestSimBus, TestSimHost>(argc, argv);
}
