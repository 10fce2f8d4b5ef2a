#pragma once

#include <map>
#include <mutex>
#include <sstream>
#include <string>

#include <boost/function.hpp>

/// Functions that a board or deployment has or lacks. All operations may be called from any thread.
class FeatureTable
{
public:
    /// Fills the table for a board; @p board empty: unknown. @p isActive is the node's deployment predicate.
    void load(const std::string& board, const boost::function<bool(int)>& isActive);

    /// True for a name that is not in the table: a missing row never takes a function away.
    [[nodiscard]] bool isSupported(const std::string& name) const;

    void set(const std::string& name, bool value);
    /// Answers on @p out, unless null.
    void set(const std::string& name, bool value, std::ostringstream* out);
    void dump(std::ostringstream* out) const;

private:
    mutable std::mutex leaf; ///< guards the map: loaded libraries ask while RPC calls write
    std::map<std::string, bool> features;
};
