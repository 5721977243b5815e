#pragma once

#include "kelvo_host/RenderObserver.h"

#include <string>

namespace kelvokit::player {

/** While it lives, the calls that a node makes are noted as a group that is called by its class and name. */
class NodeGroups : public trevik::kelvo::RenderObserver {
public:
    NodeGroups() : m_pBefore(Set(this)) {}
    ~NodeGroups() override { Set(m_pBefore); }
    NodeGroups(NodeGroups const&) = delete;
    NodeGroups& operator=(NodeGroups const&) = delete;

    void BeginNode(trevik::kelvo::Node& node) override;
    void EndNode(trevik::kelvo::Node& node) override;

protected:
    /** What the node's group is called. */
    virtual std::string Describe(trevik::kelvo::Node const& node) const;

private:
    RenderObserver* const m_pBefore;
};

} // namespace kelvokit::player
