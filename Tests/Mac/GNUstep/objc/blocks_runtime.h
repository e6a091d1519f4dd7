// Where GNUstep looks for what blocks are made of.
#pragma once

#include <Block.h>
