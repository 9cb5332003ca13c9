// Boost.JSON has no library for this target: its sources are compiled here, once.
#include <boost/json/src.hpp>
