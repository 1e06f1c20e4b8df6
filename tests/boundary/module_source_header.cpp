// A header that only the module's own sources share.
#include "error_codes.h"
