#include "rte/BLL/core/StartOrder.h"

#include <algorithm>
#include <iterator>

#include <boost/graph/adjacency_list.hpp>
#include <boost/graph/depth_first_search.hpp>
#include <boost/graph/topological_sort.hpp>

namespace {

using Graph = boost::adjacency_list<boost::vecS, boost::vecS, boost::bidirectionalS>;
using Edge = std::pair<std::size_t, std::size_t>;

std::vector<Edge> edgesOf(const std::vector<StartOrderEntry>& entries)
{
    std::vector<Edge> edges;
    for (std::size_t from = 0; from < entries.size(); ++from) {
        for (const std::string& name : entries[from].dependencies) {
            const auto target =
                std::find_if(entries.begin(), entries.end(),
                             [&](const StartOrderEntry& entry) { return entry.name == name; });
            if (target != entries.end())
                edges.emplace_back(from, static_cast<std::size_t>(std::distance(entries.begin(), target)));
        }
    }
    return edges;
}

} // namespace

std::optional<std::vector<std::string>> startOrder(const std::vector<StartOrderEntry>& entries)
{
    std::vector<Graph::vertex_descriptor> finished;
    try {
        const std::vector<Edge> edges = edgesOf(entries);
        const Graph graph(edges.begin(), edges.end(), entries.size());
        // A vertex finishes after all that it points to, so the order of finishing is the order of starting.
        boost::depth_first_search(graph,
                                  boost::visitor(boost::topo_sort_visitor(std::back_inserter(finished))));
    } catch (...) { // boost::not_a_dag, or no memory: there is no order either way
        return std::nullopt;
    }
    std::vector<std::string> order;
    order.reserve(finished.size());
    for (const Graph::vertex_descriptor vertex : finished)
        order.push_back(entries[vertex].name);
    return order;
}
