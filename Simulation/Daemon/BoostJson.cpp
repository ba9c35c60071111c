// The one translation unit that holds Boost.JSON's code: the rest includes its declarations only.
#include <boost/json/src.hpp>
