#include "TestMain.h"
#include "tst_catalogue.h"
#include "tst_platform.h"
#include "tst_settings.h"

VELMORA_TEST_MAIN(SettingsTest, CatalogueTest, PlatformTest)
