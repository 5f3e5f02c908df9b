// Stands in for the POSIX header on Windows: the system's own, then the socket calls.
#pragma once
#include_next <unistd.h>

#include "posix_sockets.h"
