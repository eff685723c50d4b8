// A program exports nothing.
#pragma once

#define SHOP_EXPORT
