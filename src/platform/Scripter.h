#pragma once

#include <cstdint>
#include <string>

/// Base of the builders that turn an entity's settings into command lines, from which a management process
/// restores them.
class Scripter
{
public:
    /// Which settings become commands. The numbers come from the caller; an unknown one means the difference.
    enum class ConfigMode : std::uint32_t {
        difference = 0, ///< what is not at its default
        everything = 1,
        nothing = 2,
    };

    explicit Scripter(const std::string& name);
    virtual ~Scripter();
    Scripter(const Scripter&) = delete;
    Scripter& operator=(const Scripter&) = delete;

    [[nodiscard]] const std::string& name() const { return scriptName; }

private:
    std::string scriptName;
};
