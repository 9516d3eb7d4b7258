#include "TestMain.h"
#include "tst_bytes.h"
#include "tst_line.h"

int main(int argc, char** argv)
{
    return runTests<BytesTest, LineTest>(argc, argv);
}
