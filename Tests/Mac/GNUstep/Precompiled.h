// What every source of these tests reads, read once.
#pragma once

#include "Prefix.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>
