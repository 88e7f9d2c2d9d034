#include "tools/filters.h"

#include "tools/cube.h"
#include "tools/errors.h"

namespace vqz {

namespace {

const char* const kLutClass = "PictureLut3DVQZ";
const char* const kSepiaClass = "PictureSepiaVQZ";

Ref newInstance(const char* className) {
    if (!standin::findClass(className))
        throw ToolError(std::string("the plugin did not register the class ") + className);
    void* instance = standin::newInstance(className);
    if (!instance) throw ToolError(std::string("the host could not make a ") + className);
    throwPendingException();
    return Ref::adopt(instance);
}

void setInteger(void* instance, const char* className, const char* name, int value) {
    standin::PropValue v;
    v.type = standin::PropValue::Integer;
    v.i = value;
    if (!standin::setProperty(instance, name, v))
        throw ToolError(std::string("cannot set ") + className + "." + name);
}

void setPicture(void* instance, const char* className, const char* name, void* picture) {
    standin::PropValue v;
    v.type = standin::PropValue::Handle;
    v.h = picture;
    if (!standin::setProperty(instance, name, v))
        throw ToolError(std::string("cannot set ") + className + "." + name);
}

void setBounds(void* instance, const char* className, const ClassBounds& b) {
    setInteger(instance, className, "MinX", b.minX);
    setInteger(instance, className, "MinY", b.minY);
    setInteger(instance, className, "MaxX", b.maxX);
    setInteger(instance, className, "MaxY", b.maxY);
}

// Run, then the picture it left in DestinationPicture.
Ref runAndTake(Session& session, void* instance, const char* className) {
    std::vector<Value> none;
    Value ran = session.call(session.only(className, "Run"), instance, none);
    if (ran.type == TypeName::Boolean && !ran.i)
        throw ToolError(std::string(className) + ".Run returned false: the class made no picture", kExitNil);
    standin::PropValue v;
    if (!standin::getProperty(instance, "DestinationPicture", v) || v.type != standin::PropValue::Handle)
        throw ToolError(std::string("cannot read ") + className + ".DestinationPicture");
    Ref out = Ref::adopt(v.h);
    if (!out) throw ToolError(std::string(className) + ".DestinationPicture is nil after Run", kExitNil);
    return out;
}

}  // namespace

Ref runLutClass(Session& session, void* source, const std::vector<double>& lattice, const ClassBounds& bounds) {
    Ref instance = newInstance(kLutClass);
    Callable table = session.only(kLutClass, "Table");
    if (!table.setter) throw ToolError(std::string(kLutClass) + ".Table cannot be assigned to");
    const size_t n = size_t(kClassNodes);
    for (size_t r = 0; r < n; ++r)
        for (size_t g = 0; g < n; ++g)
            for (size_t b = 0; b < n; ++b)
                for (size_t x = 0; x < 3; ++x) {
                    std::vector<Value> index = {Value::uint32(uint32_t(r)), Value::uint32(uint32_t(g)),
                                                Value::uint32(uint32_t(b)), Value::uint32(uint32_t(x))};
                    session.callSetter(table, instance.get(), index, Value::real(lattice[((r * n + g) * n + b) * 3 + x]));
                }
    setBounds(instance.get(), kLutClass, bounds);
    setPicture(instance.get(), kLutClass, "SourcePicture", source);
    return runAndTake(session, instance.get(), kLutClass);
}

Ref runSepiaClass(Session& session, void* source, const SepiaSettings& settings) {
    Ref instance = newInstance(kSepiaClass);
    if (settings.weights) {
        // The class keeps the green weight in FactorBlue and the blue one in FactorGreen.
        const char* names[3] = {"FactorRed", "FactorBlue", "FactorGreen"};
        for (int c = 0; c < 3; ++c) {
            std::vector<Value> none;
            session.callSetter(session.only(kSepiaClass, names[c]), instance.get(), none,
                               Value::real((*settings.weights)[size_t(c)]));
        }
    }
    setInteger(instance.get(), kSepiaClass, "SepiaRed", settings.offsets[0]);
    setInteger(instance.get(), kSepiaClass, "SepiaGreen", settings.offsets[1]);
    setInteger(instance.get(), kSepiaClass, "SepiaBlue", settings.offsets[2]);
    setBounds(instance.get(), kSepiaClass, settings.bounds);
    setPicture(instance.get(), kSepiaClass, "SourcePicture", source);
    return runAndTake(session, instance.get(), kSepiaClass);
}

}  // namespace vqz
