// What the module's sources include.
#include <kavosched.h>

#include "handler.h"
