#pragma once

#include <cstddef>
#include <memory>
#include <rpc/rpc.h>
#include <type_traits>

/// What a list of a result holds; the interface definition calls the list "list".
template <class List>
using ListElement = std::remove_pointer_t<decltype(List::list_val)>;

/**
 * Makes the list of a result from rows: @p fill(element, row) fills an element that is zero, and answers
 * false where the row cannot be told on the wire. Then the elements behind it stay zero and the answer is
 * false. The array is released at the next call with the same Owner, so each procedure needs one of its own:
 * its shape.
 */
template <class Owner, class List, class Rows, class Fill>
[[nodiscard]] bool putList(List& list, const Rows& rows, Fill fill)
{
    using Element = ListElement<List>;
    static std::unique_ptr<Element[]> elements;
    elements.reset();
    list = {};
    if (rows.empty())
        return true;
    elements = std::make_unique<Element[]>(rows.size());
    list.list_val = elements.get();
    list.list_len = static_cast<u_int>(rows.size());
    Element* element = elements.get();
    for (const auto& row : rows)
        if (!fill(*element++, row))
            return false;
    return true;
}
