// hypra-advanced's main, linked into its fuzz target under another name.
#define main HypraAdvancedMain
#include "driver/advanced_main.cpp"

using namespace hypra;
