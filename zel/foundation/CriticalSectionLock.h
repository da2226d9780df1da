#pragma once

#include "zel/core/CriticalSectionLock.h"
