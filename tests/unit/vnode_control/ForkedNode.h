#pragma once

#include "support/TemporaryFolder.h"
#include "vnode/model/NodeDescription.h"

#include <string>
#include <sys/types.h>

namespace test {

/**
 * A node behind a control socket in a process of its own, without Linux devices. Started anew it serves the
 * same socket. Its end is looked at: a node that crashed fails the test.
 */
class ForkedNode
{
public:
    explicit ForkedNode(const vnode::NodeDescription& served) : description(served) { start(); }
    ~ForkedNode() { end(); }
    ForkedNode(const ForkedNode&) = delete;
    ForkedNode& operator=(const ForkedNode&) = delete;

    [[nodiscard]] std::string socket() const { return folder.path("node.sock"); }
    [[nodiscard]] std::string folderFile(const std::string& name) const { return folder.path(name); }

    void start();
    void end();  ///< in order
    void kill(); ///< without a chance to tidy up
    void freeze() const;
    void thaw() const;

    /// A connected stream socket; the caller closes it.
    [[nodiscard]] int connect() const;

private:
    TemporaryFolder folder;
    vnode::NodeDescription description;
    pid_t child = -1;
    int life = -1; ///< the child ends when this pipe does
};

} // namespace test
