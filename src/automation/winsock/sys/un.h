// Stands in for the POSIX header on Windows: see posix_sockets.h.
#pragma once
#include "../posix_sockets.h"
