#include "Support/FakeDateProvider.hpp"
