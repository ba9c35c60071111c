// The one translation unit that holds the URL library's compiled part, so that nothing has to be
// linked for it.
#include <boost/url/src.hpp>
