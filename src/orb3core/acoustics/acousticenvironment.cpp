#include "orb3core/acoustics/acousticenvironment.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include "slib/exception.h"

namespace orb3::aspace {
namespace {

bool IsLabels(const std::unique_ptr<slib::SXMLNode>& node) {
    return node->label == "Labels";
}

std::unique_ptr<slib::SXMLNode> NewNode(std::string_view label) {
    auto node = std::make_unique<slib::SXMLNode>();
    node->label = label;
    return node;
}

// Members are read, copied and destroyed by recursion, and a document from outside must not exhaust the
// stack.
void CheckNesting(const slib::SXMLNode& root) {
    constexpr int limit = 64;
    std::vector<std::pair<const slib::SXMLNode*, int>> open{{&root, 1}};
    while (!open.empty()) {
        const auto [node, depth] = open.back();
        open.pop_back();
        if (depth > limit)
            throw slib::BadDataException("Acoustic environments are nested more than " +
                                         std::to_string(limit) + " deep.");
        for (const auto& child : node->children)
            if (child->label == root.label) open.emplace_back(child.get(), depth + 1);
    }
}

}  // namespace

AcousticEnvironment::AcousticEnvironment(const slib::SXMLNode& node, const AcousticFactory& factory) {
    node.CheckLabel("AcousticEnvironment");
    CheckNesting(node);
    if (node.HasAttribute("Label")) label = node.GetAttribute("Label");
    for (const auto& child : node.children)
        if (!IsLabels(child)) Add(factory.createAcoustic(*child));
    hasLabels = std::any_of(node.children.begin(), node.children.end(), IsLabels);
    if (hasLabels) ReadLabels(node.GetChild("Labels"));
}

AcousticEnvironment::AcousticEnvironment(const AcousticEnvironment& other)
    : Acoustic(other), label(other.label), hasLabels(other.hasLabels) {
    for (const auto& member : other.acoustics)
        Add(member->clone());
    labels = other.labels;
}

void AcousticEnvironment::Add(std::unique_ptr<Acoustic> member) {
    for (std::uint32_t i = 0; i < member->getChannelCount(); ++i)
        labels.append(member->getChannelLabel(i));
    acoustics.append(slib::SmartPtr<Acoustic, slib::ThreadsafeCounter>(member.release()));
}

void AcousticEnvironment::ReadLabels(const slib::SXMLNode& node) {
    node.CheckChildCount(labels.size);
    for (std::size_t i = 0; i < labels.size; ++i) {
        node.children[i]->CheckLabel("Label");
        labels[i] = node.children[i]->GetAttribute("Text");
    }
}

std::unique_ptr<slib::SXMLNode> AcousticEnvironment::createNode() const {
    auto node = NewNode("AcousticEnvironment");
    node->attributes["Label"] = label;
    for (const auto& member : acoustics)
        node->AddChild(member->createNode());
    if (!hasLabels) return node;
    slib::SXMLNode& list = node->AddChild(NewNode("Labels"));
    for (const std::string& text : labels)
        list.AddChild(NewNode("Label")).attributes["Text"] = text;
    return node;
}

std::unique_ptr<Acoustic> AcousticEnvironment::clone() const {
    return std::unique_ptr<Acoustic>(new AcousticEnvironment(*this));
}

std::string AcousticEnvironment::getLabel() const {
    return label;
}

std::string AcousticEnvironment::getChannelLabel(std::uint32_t index) const {
    return labels[index];
}

std::uint32_t AcousticEnvironment::getChannelCount() const {
    return labels.size;
}

void AcousticEnvironment::getChannelPoints(std::uint32_t index, Points& out) const {
    acoustics[index]->getPoints(out);
}

void AcousticEnvironment::getResponse(double x, double y, double z, double omega, Response& out) const {
    out.resize(getChannelCount());
    Response part;
    std::complex<double>* next = out.begin();
    for (const auto& member : acoustics) {
        member->getResponse(x, y, z, omega, part);
        next = std::copy(part.begin(), part.end(), next);
    }
}

void AcousticEnvironment::getResponseGradient(double x, double y, double z, double omega,
                                              ResponseGradient& out) const {
    static constexpr Response ResponseGradient::*fields[] = {&ResponseGradient::value, &ResponseGradient::dx,
                                                             &ResponseGradient::dy, &ResponseGradient::dz};
    for (const auto field : fields)
        (out.*field).resize(getChannelCount());
    ResponseGradient part;
    std::uint32_t first = 0;
    for (const auto& member : acoustics) {
        member->getResponseGradient(x, y, z, omega, part);
        for (const auto field : fields)
            std::copy((part.*field).begin(), (part.*field).end(), (out.*field).begin() + first);
        first += part.value.size;
    }
}

void AcousticEnvironment::getPoints(Points& out) const {
    out.clear();
    Points part;
    for (const auto& member : acoustics) {
        member->getPoints(part);
        out.appendAll(part);
    }
}

}  // namespace orb3::aspace
