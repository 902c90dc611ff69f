// All of Boost.JSON, compiled from its headers instead of linked.

#include <boost/json/src.hpp>
