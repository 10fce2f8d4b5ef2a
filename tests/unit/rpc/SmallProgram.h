#pragma once

#include "rpc/List.h"
#include "rpc/Program.h"
#include "rte/BLL/core/RpcRegistration.h"

#include <array>
#include <small.h> // made from small.x
#include <stdexcept>
#include <string>
#include <vector>

/// The daemon's side of the program in small.x, with shapes and a list of its own.
namespace test::small {

inline std::vector<u_int> values;

inline void store(const std::string& name, bool kept, u_int a, u_int b, u_int c, u_int d)
{
    values = kept ? std::vector{static_cast<u_int>(name.size()), a, b, c, d} : std::vector<u_int>{};
}
inline const std::vector<u_int>& stored() { return values; }
inline int doubled(int value) { return 2 * value; }
inline int thrown(int value)
{
    if (value == 0)
        throw value;
    throw std::runtime_error("on purpose");
}
inline void none() {}

template <auto operation>
struct tell
{
    void operator()(const auto&... fields) const { operation(fields...); }
};

template <auto operation>
struct answer
{
    void operator()(int& result, int value) const { result = operation(value); }
};

/// A value of 0 cannot be told.
template <auto operation>
struct elements
{
    void operator()(smallList& result) const
    {
        const auto fill = [](smallElement& element, u_int value) {
            element = {value, value % 2 == 0};
            return value != 0;
        };
        result.result = putList<elements>(result.list, operation(), fill) ? 0 : 1;
    }
};

#define PROCEDURE(number, name, argumentFilter, arguments, result, shape, operation)                         \
    procedure<argumentFilter, xdr_##result, countArguments(rpc_##name##_1), shape<operation>{}>(number,      \
                                                                                                #name),
inline constexpr auto rows = [] {
    auto all = std::to_array<ProcedureRow>({
#include "smallProcedures.def"
    });
    all.back().serve = [](void*) -> void* { return nullptr; };
    return all;
}();
#undef PROCEDURE

/// Once for all tests: every program is served on every transport.
inline void serve()
{
    static const bool registered = [] {
        rpcProxyRegisterSvc(SMALL_PROGRAM, SMALL_VERSION,
                            [](svc_req* request, SVCXPRT* to) { dispatch(rows, request, to); });
        return true;
    }();
    static_cast<void>(registered);
}

} // namespace test::small
