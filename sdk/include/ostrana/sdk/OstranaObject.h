#pragma once

#include <string>
#include <vector>

#include <ostrana/sdk/Export.h>
#include <ostrana/sdk/LanguageVersion.h>
#include <ostrana/sdk/Result.h>
#include <ostrana/sdk/XVAny.h>
#include <ostrana/sdk/XVAnyMap.h>

namespace ostrana {

// One registered property as tools see it: its name and its schema.
struct PropertyDescription {
    std::string name;
    XVAnyMap schema;
};

// The base of every host object that has properties. An object carries a type name and a
// registry of properties, each with a schema and a getter and setter function.
// Objects are not copyable: registered functions usually capture the object itself.
class OSTRANA_SDK_EXPORT OstranaObject {
  public:
    explicit OstranaObject(const std::string& objectType);
    virtual ~OstranaObject();
    OstranaObject(const OstranaObject&) = delete;
    OstranaObject& operator=(const OstranaObject&) = delete;

    // Passes value to the property's setter. An unknown name, or a value the setter cannot
    // convert, gives an error whose message names the property and the object type.
    virtual Result<void> setValue(const std::string& key, const XVAny& value);
    // What the property's getter returns; an unknown name gives an error.
    // Non-const: the host's virtual interface is fixed; other libraries override it.
    virtual Result<XVAny> getValue(const std::string& key);
    // Objects have no actions unless a subclass provides them: an error naming the action.
    virtual Result<XVAny> callAction(const std::string& name, const XVAnyMap& params);

    // Records a property; getter must hold an XVAny::Getter and setter an XVAny::Setter.
    // Registering a name again replaces the earlier registration.
    Result<void> registerProperty(const std::string& name, const XVAnyMap& schema,
                                  const XVAny& getter, const XVAny& setter);

    const std::string& getObjectType() const { return objectType_; }
    bool hasProperty(const std::string& name) const;
    // The registered properties in registration order.
    std::vector<PropertyDescription> getProperties() const;

  private:
    struct Property {
        std::string name;
        XVAnyMap schema;
        XVAny::Getter getter;
        XVAny::Setter setter;
    };
    const Property* findProperty(const std::string& name) const;
    std::string describeMissing(const std::string& what, const std::string& name) const;

    std::string objectType_;
    std::vector<Property> properties_;
};

}  // namespace ostrana
