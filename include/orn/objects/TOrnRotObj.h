#pragma once

// TOrnRotObj is declared with its base, which it only publishes.
#include <orn/objects/TOrnCustomRotObj.h>
