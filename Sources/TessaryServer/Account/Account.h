#pragma once

// Accounts of the companion server: the store, the account rules, the browser sign-in and the
// account API, and the `tessary-server account` commands.

#include "TessaryServer/Account/AccountCommand.h"
#include "TessaryServer/Account/AccountError.h"
#include "TessaryServer/Account/AccountHandlers.h"
#include "TessaryServer/Account/AccountStore.h"
#include "TessaryServer/Account/Accounts.h"
#include "TessaryServer/Account/SqliteAccountStore.h"
