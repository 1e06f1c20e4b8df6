// A header of the appliance.
#include "store/task_store.h"
