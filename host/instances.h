// Instances of registered plugin classes and host exception objects.
#pragma once

#include <string>

#include "host/objects.h"

namespace standin {

// A plugin class instance: the handle is the start of a block whose first
// forSystemUse bytes belong to the host, followed by the class's instance data.
struct Instance : Object {
    static constexpr ObjectKind kKind = ObjectKind::Instance;
    Instance(REALclassDefinition* def, uint8_t* memory, size_t bytes)
        : Object(kKind), definition(def), block(memory), blockBytes(bytes) {
        handle = block;
    }
    ~Instance() override;
    REALclassDefinition* definition;
    uint8_t* block;
    size_t blockBytes;

    uint8_t* data() const;
    std::string className() const override;
    std::string describe() const override;
    void dispose() override;  // calls the class destructor
    size_t shellBytes() const override { return sizeof(Instance) + blockBytes; }
    bool getProp(const std::string& name, PropValue& out) override;
    bool setProp(const std::string& name, const PropValue& value) override;
};

// Allocates zero-filled memory, registers it (one reference), runs the constructor.
Instance* makeInstance(REALclassDefinition* definition);
// A registered class (not an extension) by name, or null.
REALclassDefinition* findPluginClass(const std::string& name);

bool isExceptionClass(const std::string& name);
// A new exception object of a host exception class, with one reference.
Object* makeException(const std::string& className);
void resetExceptions();

}  // namespace standin
