#include "include/skewcorrection/version.h"

int skew_version(void) { return SKEW_VERSION_NUMBER; }
