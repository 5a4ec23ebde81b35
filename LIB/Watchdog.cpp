#include "NGFunctions.h"

void fgCNSocket_CathAlam(int) {}
