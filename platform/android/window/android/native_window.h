#pragma once

#include <system/window.h>
