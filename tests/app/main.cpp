#include "TestMain.h"
#include "tst_app.h"

int main(int argc, char** argv)
{
    return runTests<SettingsTest, CatalogueTest, MainFrameTest, ViewsTest, HeadlessTest>(argc,
                                                                                         argv);
}
