#pragma once

/**
 * The one object of a class, built on first use, thread-safe, destroyed at process exit in reverse order of
 * construction. The symbol has default visibility and the program exports it, so that libraries loaded into
 * the process reach the same object.
 */
template <typename T>
class singleton
{
public:
    static T& instance()
    {
        static T obj;
        return obj;
    }
};
