/* fibdb/config.h: forwarding configuration. Its result processors are declared in runtime.h. */
#ifndef FIBDB_CONFIG_H
#define FIBDB_CONFIG_H

#include "fibdb/common.h"

#endif
