#include "lab/network/program/topology.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace norvad::network {

namespace {

constexpr double width = 760, height = 300, margin = 50;

// Bridges first, then stations.
class Layout {
public:
    explicit Layout(const Scenario& scenario) : scenario(scenario), neighbours(Nodes()), layerOf(Nodes(), SIZE_MAX) {
        for (const LinkPlan& link : scenario.links) {
            neighbours[NodeOf(link.a)].push_back(NodeOf(link.b));
            neighbours[NodeOf(link.b)].push_back(NodeOf(link.a));
        }
        for (size_t node = 0; node < Nodes(); ++node) Place(node, 0);
    }

    size_t Nodes() const { return scenario.bridges.size() + scenario.stations.size(); }
    size_t NodeOf(const End& end) const { return end.isStation ? scenario.bridges.size() + end.index : end.index; }
    bool IsBridge(size_t node) const { return node < scenario.bridges.size(); }
    const std::string& NameOf(size_t node) const {
        return IsBridge(node) ? scenario.bridges[node].name : scenario.stations[node - scenario.bridges.size()].name;
    }

    std::pair<double, double> At(size_t node) const {
        const auto& layer = layers[layerOf[node]];
        const auto place = static_cast<double>(std::find(layer.begin(), layer.end(), node) - layer.begin());
        const double columns = std::max(1.0, static_cast<double>(layers.size() - 1));
        const double x = margin + static_cast<double>(layerOf[node]) * (width - 2 * margin) / columns;
        return {x, (place + 1) * height / (static_cast<double>(layer.size()) + 1)};
    }

private:
    // The node, if it has no place yet, and by their distance all that can be reached from it.
    void Place(size_t first, size_t firstLayer) {
        std::vector<size_t> ahead{first};
        for (size_t layer = firstLayer; !ahead.empty(); ++layer) {
            std::vector<size_t> next;
            for (const size_t node : ahead) {
                if (layerOf[node] != SIZE_MAX) continue;
                if (layers.size() <= layer) layers.resize(layer + 1);
                layerOf[node] = layer;
                layers[layer].push_back(node);
                next.insert(next.end(), neighbours[node].begin(), neighbours[node].end());
            }
            ahead = std::move(next);
        }
    }

    const Scenario& scenario;
    std::vector<std::vector<size_t>> neighbours, layers;
    std::vector<size_t> layerOf;
};

std::string NodeText(const Layout& layout, size_t node, bool isNamed) {
    const auto [x, y] = layout.At(node);
    std::string text =
        layout.IsBridge(node)
            ? fmt::format("<circle cx=\"{:.1f}\" cy=\"{:.1f}\" r=\"6\" fill=\"#1f77b4\"/>\n", x, y)
            : fmt::format("<rect x=\"{:.1f}\" y=\"{:.1f}\" width=\"10\" height=\"10\" fill=\"#ff7f0e\"/>\n", x - 5,
                          y - 5);
    if (isNamed) {
        text += fmt::format("<text x=\"{:.1f}\" y=\"{:.1f}\" text-anchor=\"middle\">{}</text>\n", x, y - 12,
                            layout.NameOf(node));
    }
    return text;
}

}  // namespace

std::string TopologySvg(const Scenario& scenario) {
    constexpr size_t mostNames = 40;
    const Layout layout(scenario);
    std::string text = fmt::format(
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0}\" height=\"{1}\" viewBox=\"0 0 {0} {1}\" "
        "font-family=\"sans-serif\" font-size=\"12\">\n<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n",
        width, height);
    for (const LinkPlan& link : scenario.links) {
        const auto [x1, y1] = layout.At(layout.NodeOf(link.a));
        const auto [x2, y2] = layout.At(layout.NodeOf(link.b));
        text += fmt::format("<path d=\"M{:.1f} {:.1f}L{:.1f} {:.1f}\" stroke=\"#888\"/>\n", x1, y1, x2, y2);
    }
    for (size_t node = 0; node < layout.Nodes(); ++node) text += NodeText(layout, node, layout.Nodes() <= mostNames);
    return text + "</svg>\n";
}

}  // namespace norvad::network
