#include "TestMain.h"
#include "tst_station.h"

int main(int argc, char** argv)
{
    return runTests<SettingsTest, CatalogueTest>(argc, argv);
}
