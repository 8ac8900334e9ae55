#pragma once

#include "model/AffineTransform.h"
#include "model/BezierPath.h"
#include "model/KeyedUnarchiver.h"

#include <QByteArray>
#include <QImage>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// A test-only archivable object using every kind of value the keyed archive
// offers, so that archive tests and the fuzz target exercise the whole
// decoder without the real model classes.
class ArchiveTestNode : public Codable {
public:
    struct Sample {
        std::int16_t dx = 0, dy = 0;
        std::uint8_t pressure = 0;
        float weight = 0;
        friend bool operator==(const Sample&, const Sample&) = default;
    };

    std::string name;
    std::int64_t number = 0;
    float weight = 0;
    double precise = 0;
    bool flag = false;
    std::optional<Color> color;
    std::optional<BezierPath> path;
    std::optional<AffineTransform> transform;
    std::optional<QImage> image;
    std::optional<QByteArray> data;
    std::shared_ptr<ArchiveTestNode> child;
    std::optional<std::vector<std::shared_ptr<ArchiveTestNode>>> children;
    std::vector<Sample> samples;

    static constexpr const char* kClassName = "ArchiveTestNode";
    std::string archiveClassName() const override { return kClassName; }
    void encodeWithCoder(KeyedArchiver& coder) const override;
    static std::shared_ptr<Codable> initWithCoder(KeyedUnarchiver& coder);
    static void registerClass(); // idempotent
    // A root with a child, an array of two nodes and a null, and every value.
    static std::shared_ptr<ArchiveTestNode> sampleTree();
    // Deep comparison, images by their pixels.
    bool sameAs(const ArchiveTestNode& other) const;
};
