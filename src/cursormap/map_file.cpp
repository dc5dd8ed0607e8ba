#include "cursormap/map_file.h"
// Being written.
