// The factory of the engine's accessor.
#include "utl_lib_xml_accessor.h"

#include <new>

#include "utl_lib_xml_accessor_impl.h"

namespace norvane {

utl_lib_xml_accessor* utl_lib_xml_accessor_factory::create_accessor(
    utl_lib_xml_parse_observer* observer)
{
    return new (std::nothrow) utl_lib_xml_accessor_impl(observer);
}

}  // namespace norvane
