#include "DateLabel.h"
