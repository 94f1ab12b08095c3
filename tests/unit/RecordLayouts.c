/* The layouts hold for applications in C as well, and every public header compiles there. */
#include "api/RecordLayouts.h"
