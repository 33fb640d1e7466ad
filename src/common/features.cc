// Both switches are off until start-up has read the settings.
#include "common/features.h"

int supportphoto = 0;
int supportcinehall = 0;
