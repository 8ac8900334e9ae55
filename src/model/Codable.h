#pragma once

#include <memory>
#include <string>

class KeyedArchiver;
class KeyedUnarchiver;

// A model object that writes itself into a keyed archive by keys and is read
// back by the factory registered for its class name (KeyedUnarchiver::registerClass).
class Codable {
public:
    virtual ~Codable() = default;
    // The class name recorded in the archive ("Stroke", "Strokes", ...).
    virtual std::string archiveClassName() const = 0;
    virtual void encodeWithCoder(KeyedArchiver& coder) const = 0;
};
