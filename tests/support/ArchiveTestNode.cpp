#include "support/ArchiveTestNode.h"

#include <algorithm>

void ArchiveTestNode::encodeWithCoder(KeyedArchiver& coder) const {
    coder.encodeString(name, "name");
    coder.encodeInt(number, "number");
    coder.encodeFloat(weight, "weight");
    coder.encodeDouble(precise, "precise");
    coder.encodeBool(flag, "flag");
    coder.encodeColor(color, "color");
    if (path) coder.encodeBezierPath(&*path, "path");
    if (transform) coder.encodeAffineTransform(&*transform, "transform");
    if (image) coder.encodeImage(&*image, "image");
    if (data) coder.encodeData(*data, "data");
    if (child) coder.encodeObject(child.get(), "child");
    if (children) {
        std::vector<const Codable*> list;
        for (const auto& c : *children) list.push_back(c.get());
        coder.encodeObjectArray(list, "children");
    }
    SequentialWriter& values = coder.sequentialValues();
    values.writeUInt8(0);
    values.writeInt32(std::int32_t(samples.size()));
    for (const Sample& s : samples) {
        values.writeInt16(s.dx);
        values.writeInt16(s.dy);
        values.writeUInt8(s.pressure);
        values.writeFloat(s.weight);
    }
}

std::shared_ptr<Codable> ArchiveTestNode::initWithCoder(KeyedUnarchiver& coder) {
    auto node = std::make_shared<ArchiveTestNode>();
    node->name = coder.decodeString("name").value_or("");
    node->number = coder.decodeInt("number");
    node->weight = coder.decodeFloat("weight");
    node->precise = coder.decodeDouble("precise");
    node->flag = coder.decodeBool("flag");
    node->color = coder.decodeColor("color");
    if (auto p = coder.decodeBezierPath("path")) node->path = *p;
    if (auto t = coder.decodeAffineTransform("transform")) node->transform = *t;
    node->image = coder.decodeImage("image");
    node->data = coder.decodeData("data");
    node->child = coder.decodeObjectOfClass<ArchiveTestNode>("child");
    if (auto list = coder.decodeObjectArray("children")) {
        node->children.emplace();
        for (const auto& c : *list) {
            auto typed = std::dynamic_pointer_cast<ArchiveTestNode>(c);
            if (c && !typed) throw ArchiveError("the file is damaged: a child of the wrong class");
            node->children->push_back(typed);
        }
    }
    SequentialReader& values = coder.sequentialValues();
    values.readUInt8();
    const std::int32_t count = values.readInt32();
    // No reservation by the declared count: reading runs out first.
    for (std::int32_t i = 0; i < count; ++i) {
        Sample s;
        s.dx = values.readInt16();
        s.dy = values.readInt16();
        s.pressure = values.readUInt8();
        s.weight = values.readFloat();
        node->samples.push_back(s);
    }
    return node;
}

void ArchiveTestNode::registerClass() {
    KeyedUnarchiver::registerClass(kClassName, &ArchiveTestNode::initWithCoder);
}

std::shared_ptr<ArchiveTestNode> ArchiveTestNode::sampleTree() {
    auto root = std::make_shared<ArchiveTestNode>();
    root->name = "root \u00e9\u2713";
    root->number = -1234567890123;
    root->weight = 0.1f;
    root->precise = 1.0 / 3.0;
    root->flag = true;
    root->color = Color::device(0.25f, 0.5f, 0.75f, 0.2f);
    BezierPath path;
    path.moveToPoint({1.5f, 2.5f});
    path.lineToPoint({10, 2.5f});
    path.curveToPoint({10, 20}, {12, 5}, {14, 15});
    path.closePath();
    path.setLineWidth(4.5f);
    path.setLineJoinStyle(BezierPath::LineJoin::Round);
    path.setWindingRule(EvenOddWindingRule);
    root->path = path;
    root->transform = AffineTransform(AffineMatrix{2, 0.5f, -0.5f, 2, 100.25f, -7});
    QImage image(3, 2, QImage::Format_ARGB32);
    image.fill(qRgba(10, 20, 30, 40));
    image.setPixel(1, 1, qRgba(255, 0, 128, 255));
    root->image = image;
    root->data = QByteArray("\0\1\2binary\xff", 10);
    root->samples = {{10, -20, 255, 1.5f}, {-32768, 32767, 0, -0.0f}};

    auto child = std::make_shared<ArchiveTestNode>();
    child->name = "child";
    child->color = Color::calibrated(1, 0, 0);
    child->samples = {{1, 2, 3, 4}};
    root->child = child;

    auto first = std::make_shared<ArchiveTestNode>();
    first->name = "first";
    auto second = std::make_shared<ArchiveTestNode>();
    second->name = "second";
    second->children.emplace();
    root->children = std::vector<std::shared_ptr<ArchiveTestNode>>{first, nullptr, second};
    return root;
}

bool ArchiveTestNode::sameAs(const ArchiveTestNode& o) const {
    const auto argb = [](const std::optional<QImage>& i) {
        return i ? std::optional(i->convertToFormat(QImage::Format_ARGB32)) : std::nullopt;
    };
    const auto same = [](const std::shared_ptr<ArchiveTestNode>& a,
                         const std::shared_ptr<ArchiveTestNode>& b) {
        return a && b ? a->sameAs(*b) : a == b;
    };
    return name == o.name && number == o.number && weight == o.weight && precise == o.precise &&
           flag == o.flag && color == o.color && path == o.path && transform == o.transform &&
           argb(image) == argb(o.image) && data == o.data && samples == o.samples &&
           same(child, o.child) && children.has_value() == o.children.has_value() &&
           (!children || std::equal(children->begin(), children->end(), o.children->begin(),
                                    o.children->end(), same));
}
