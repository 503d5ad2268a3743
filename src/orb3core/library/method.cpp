#include "orb3core/library/method.h"

namespace orb3::fl {

void Method::Read(const slib::SXMLNode& node) {
    node.CheckLabel("Method");
    *this = Method{node.GetAttribute("Tag"), node.GetAttribute("Name"), node.GetAttribute("Writeup")};
}

std::unique_ptr<slib::SXMLNode> Method::CreateNode() const {
    auto node = std::make_unique<slib::SXMLNode>();
    node->label = "Method";
    node->attributes = {{"Tag", tag}, {"Name", name}, {"Writeup", writeup}};
    return node;
}

}  // namespace orb3::fl
