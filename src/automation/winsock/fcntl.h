// Stands in for the POSIX header on Windows: the system's own, then the socket calls.
#pragma once
#include_next <fcntl.h>

#include "posix_sockets.h"
