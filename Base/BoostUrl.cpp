// Compiles Boost.URL into this translation unit, so that no library has to be linked.
#include <boost/url/src.hpp>
