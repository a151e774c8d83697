#pragma once

// Where the server's data lives: the SQLite store or a PostgreSQL database shared by several
// server processes, and the copy from the one to the other.

#include "TessaryServer/Storage/PostgresOptions.h"
#include "TessaryServer/Storage/ServerStorage.h"
#include "TessaryServer/Storage/StoreCopy.h"
