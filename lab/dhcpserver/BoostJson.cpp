// There is no Boost.JSON library for this target, so its sources are compiled here, once.
#include <boost/json/src.hpp>
