// The whole of Boost.JSON, which is compiled here and not linked.

#include <boost/json/src.hpp>
