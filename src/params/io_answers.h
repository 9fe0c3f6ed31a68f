#pragma once

#include "params/io_ports.h"
#include "params/parameter.h"

// Answers of the I/O parameters, which speak of the port that PARAM_IO_ADDR selects.
namespace bv {

namespace detail {

template <class T>
struct PortReadBy;
template <class T>
struct PortReadBy<boolean16 (*)(int16, uns16, T*)> {
    using type = T;
};

}  // namespace detail

boolean16 IoDirection(Call& call, int16 hcam, Value& value);
boolean16 IoDirectionAccess(Call& call, int16 hcam, Value& value);
boolean16 IoStateAccess(Call& call, int16 hcam, Value& value);
boolean16 SetIoState(int16 hcam, flt64 state);
boolean16 SetIoDirection(int16 hcam, int32 direction);

// A read such as bv_io_get_type(hcam, addr, &value).
template <auto Read>
boolean16 of_port(Call&, int16 hcam, Value& value) {
    typename detail::PortReadBy<decltype(Read)>::type number{};
    if (!Read(hcam, row<cam_cfg_type>(hcam).io_addr, &number)) return OZ_FAIL;
    value = number;
    return OZ_OK;
}

}  // namespace bv
