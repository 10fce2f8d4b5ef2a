#pragma once

#include "rte/BLL/core/RpcRecord.h"

#include <cstddef>
#include <rpc/rpc.h>
#include <span>
#include <type_traits>

/**
 * An RPC program as rows: what the dispatcher needs to know of each procedure. Adding a procedure is adding a
 * row to the program's table (Rows.h); the binding below makes it from typed filters and a handler. Shapes of
 * handlers and elements of lists belong to the program, whose records they fill.
 */
struct ProcedureRow
{
    using filter_t = bool_t (*)(XDR* xdrs, void* data);

    rpcproc_t number;
    const char* name;
    std::size_t argumentSize;
    filter_t argumentFilter;
    filter_t resultFilter;
    /// The service function: takes the decoded argument, answers its static result, or null for no reply.
    void* (*serve)(void* argument);
};

/// Largest argument of any procedure in bytes: the size of the dispatcher's buffer.
inline constexpr std::size_t largestArgument = 512;

/// Stands for an absent argument or result.
struct Nothing
{};

/// The record that a filter reads and writes. Two of the library's filters have forms of their own.
template <class Record>
Record recordOf(bool_t (*)(XDR*, Record*));
Nothing recordOf(bool_t (*)());                  // xdr_void
char* recordOf(bool_t (*)(XDR*, char**, u_int)); // xdr_string
template <auto filter>
using RecordOf = decltype(recordOf(filter));

/// Filters in one type, so that rows can be constants: the library's own type would need a cast.
template <auto filter>
bool_t untyped(XDR* xdrs, void* data)
{
    using Record = RecordOf<filter>;
    if constexpr (std::is_same_v<Record, Nothing>)
        return filter();
    else if constexpr (std::is_invocable_v<decltype(filter), XDR*, Record*>)
        return filter(xdrs, static_cast<Record*>(data));
    else
        return filter(xdrs, static_cast<Record*>(data), RpcRecord::largest); // no message is longer
}

/// How many arguments a procedure takes, by its client stub: more than one travel as a record of them.
template <class Result, class... Arguments>
constexpr std::size_t countArguments(Result* (*)(Arguments...))
{
    return sizeof...(Arguments) - 1; // the last one is the client handle
}

/// Calls @p action with the argument, or with the fields of a record of arguments.
template <std::size_t Count, class Argument, class Action>
void spread(Argument& argument, Action action)
{
    if constexpr (Count == 0) {
        action();
    } else if constexpr (Count == 1) {
        action(argument);
    } else if constexpr (Count == 2) {
        auto& [a, b] = argument;
        action(a, b);
    } else if constexpr (Count == 3) {
        auto& [a, b, c] = argument;
        action(a, b, c);
    } else if constexpr (Count == 4) {
        auto& [a, b, c, d] = argument;
        action(a, b, c, d);
    } else if constexpr (Count == 5) {
        auto& [a, b, c, d, e] = argument;
        action(a, b, c, d, e);
    } else {
        static_assert(Count == 6);
        auto& [a, b, c, d, e, f] = argument;
        action(a, b, c, d, e, f);
    }
}

/**
 * A service function: clears its one static result, lets the handler fill it from the argument's fields and
 * answers it. The handler of a procedure without a result gets the fields alone. The result stays until the
 * next call of the procedure; the library encodes it before it reads the next request, and one thread serves
 * all.
 */
template <class Argument, class Result, std::size_t Count, auto handler>
void* serveWith(void* argument)
{
    static Result result;
    result = Result{};
    spread<Count>(*static_cast<Argument*>(argument), [](auto&... fields) {
        if constexpr (std::is_same_v<Result, Nothing>)
            handler(fields...);
        else
            handler(result, fields...);
    });
    return &result;
}

template <auto argumentFilter, auto resultFilter, std::size_t count, auto handler>
constexpr ProcedureRow procedure(rpcproc_t number, const char* name)
{
    using Argument = RecordOf<argumentFilter>;
    using Result = RecordOf<resultFilter>;
    static_assert(std::is_trivially_copyable_v<Argument> && sizeof(Argument) <= largestArgument);
    return {number,
            name,
            sizeof(Argument),
            untyped<argumentFilter>,
            untyped<resultFilter>,
            serveWith<Argument, Result, count, handler>};
}

constexpr bool isAscending(std::span<const ProcedureRow> rows)
{
    for (std::size_t i = 1; i < rows.size(); ++i)
        if (rows[i - 1].number >= rows[i].number)
            return false;
    return true;
}

/**
 * Serves one request: procedure 0 at once with an empty reply, the others by their row (@p rows ascending); a
 * number without a row is refused as unavailable. Nothing is thrown: an exception of a service function is
 * logged and answered with a system error, and the calling thread's interruption is put off meanwhile,
 * because neither may travel through the library's frames.
 */
void dispatch(std::span<const ProcedureRow> rows, svc_req* request, SVCXPRT* transport);
