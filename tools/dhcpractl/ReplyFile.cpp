#include "tools/dhcpractl/ReplyFile.h"

#include "tools/dhcpractl/Failures.h"
#include "tools/dhcpractl/Procedures.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdlib.h>
#include <unistd.h>

namespace dhcpractl {

namespace {

/// Empty, readable by nobody else, gone with the object.
class ReplyFile
{
public:
    ReplyFile() : path((std::filesystem::temp_directory_path() / "dhcpractl-XXXXXX").string())
    {
        const int fd = mkstemp(path.data());
        if (fd == -1)
            throw UsageError("cannot make a temporary file " + path);
        close(fd);
    }
    ~ReplyFile() { unlink(path.c_str()); }
    ReplyFile(const ReplyFile&) = delete;
    ReplyFile& operator=(const ReplyFile&) = delete;

    [[nodiscard]] std::string content() const
    {
        std::ostringstream text;
        text << std::ifstream(path, std::ios::binary).rdbuf();
        return text.str();
    }

    std::string path;
};

std::string ask(Connection& connection, const char* procedure, const std::string& key,
                const std::string& value)
{
    const ReplyFile file;
    static_cast<void>(call(connection, procedure, {key, value, file.path}));
    return file.content();
}

} // namespace

std::string askWord(Connection& connection, const std::string& key, const std::string& value)
{
    std::string answer = ask(connection, "dra_ext_message", key, value);
    if (answer.empty())
        throw Refused("no answer to '" + key +
                      "': the word is unknown, or the daemon cannot write to our files");
    return answer;
}

std::string askManager(Connection& connection, const std::string& key, const std::string& value)
{
    return ask(connection, "dra_ext_message_dhcpr", key, value);
}

} // namespace dhcpractl
