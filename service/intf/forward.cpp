// SPDX-License-Identifier: MIT
// Names of the driver interface that pass everything through.
#include <dfd/dfd.h>

#include "service/intf/pass_through.h"

#define DFD_FORWARD(name, to, parameters, arguments) \
    int name parameters {                            \
        return to arguments;                         \
    }

DFD_PASS_THROUGH(DFD_FORWARD)
