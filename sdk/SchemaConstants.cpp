#include <ostrana/sdk/SchemaConstants.h>

namespace ostrana {

// Action schema keys
const std::string ACTION_FIELD_NAME = "name";
const std::string ACTION_FIELD_DESCRIPTION = "description";
const std::string ACTION_FIELD_PARAMETERS = "parameters";
const std::string ACTION_FIELD_RETURN_TYPE = "returnType";
const std::string ACTION_FIELD_RETURN_DESCRIPTION = "returnDescription";
const std::string ACTION_FIELD_HANDLER = "handler";

// Action parameter schema keys
const std::string ACTION_PARAMETER_FIELD_NAME = "name";
const std::string ACTION_PARAMETER_FIELD_DESCRIPTION = "description";
const std::string ACTION_PARAMETER_FIELD_TYPE = "type";
const std::string ACTION_PARAMETER_FIELD_IS_OPTIONAL = "isOptional";

// Action parameter types
const std::string ACTION_PARAMETER_TYPE_BOOLEAN = "boolean";
const std::string ACTION_PARAMETER_TYPE_FLOAT = "float";
const std::string ACTION_PARAMETER_TYPE_INT = "int";
const std::string ACTION_PARAMETER_TYPE_STRING = "string";
const std::string ACTION_PARAMETER_TYPE_ARRAY = "array";
const std::string ACTION_PARAMETER_TYPE_OBJECT = "object";

// Action return types
const std::string ACTION_RETURN_TYPE_BOOLEAN = "boolean";
const std::string ACTION_RETURN_TYPE_FLOAT = "float";
const std::string ACTION_RETURN_TYPE_INT = "int";
const std::string ACTION_RETURN_TYPE_STRING = "string";
const std::string ACTION_RETURN_TYPE_ARRAY = "array";
const std::string ACTION_RETURN_TYPE_OBJECT = "object";

// Configuration entry keys
const std::string CONFIGURATION_FIELD_TYPE = "type";
const std::string CONFIGURATION_FIELD_NAME = "name";
const std::string CONFIGURATION_FIELD_DESCRIPTION = "description";
const std::string CONFIGURATION_FIELD_DEFAULT = "default";
const std::string CONFIGURATION_FIELD_MIN_VALUE = "min";
const std::string CONFIGURATION_FIELD_MAX_VALUE = "max";
const std::string CONFIGURATION_FIELD_OPTIONS = "options";
const std::string CONFIGURATION_FIELD_VALUE = "value";

// Configuration value types
const std::string CONFIGURATION_TYPE_BOOLEAN = "boolean";
const std::string CONFIGURATION_TYPE_FLOAT = "float";
const std::string CONFIGURATION_TYPE_INT = "int";
const std::string CONFIGURATION_TYPE_STRING = "string";
const std::string CONFIGURATION_TYPE_ARRAY = "array";
const std::string CONFIGURATION_TYPE_OBJECT = "object";

// Event schema keys
const std::string EVENT_FIELD_NAME = "name";
const std::string EVENT_FIELD_DESCRIPTION = "description";
const std::string EVENT_FIELD_DATA = "data";

// Event data keys
const std::string EVENT_DATA_FIELD_NAME = "name";
const std::string EVENT_DATA_FIELD_DESCRIPTION = "description";
const std::string EVENT_DATA_FIELD_TYPE = "type";

// Event data types
const std::string EVENT_DATA_TYPE_BOOLEAN = "boolean";
const std::string EVENT_DATA_TYPE_FLOAT = "float";
const std::string EVENT_DATA_TYPE_INT = "int";
const std::string EVENT_DATA_TYPE_STRING = "string";

// Property schema keys
const std::string PROPERTY_FIELD_TYPE = "type";
const std::string PROPERTY_FIELD_NAME = "name";
const std::string PROPERTY_FIELD_DESCRIPTION = "description";
const std::string PROPERTY_FIELD_DEFAULT_VALUE = "default";
const std::string PROPERTY_FIELD_UNIT = "unit";
const std::string PROPERTY_FIELD_MIN_VALUE = "min";
const std::string PROPERTY_FIELD_MAX_VALUE = "max";
const std::string PROPERTY_FIELD_OPTIONS = "options";
const std::string PROPERTY_FIELD_READ_ONLY = "readOnly";
const std::string PROPERTY_FIELD_VALUE = "value";
const std::string PROPERTY_FIELD_GETTER = "getter";
const std::string PROPERTY_FIELD_SETTER = "setter";

// Property types
const std::string PROPERTY_TYPE_BOOLEAN = "boolean";
const std::string PROPERTY_TYPE_FLOAT = "float";
const std::string PROPERTY_TYPE_INT = "int";
const std::string PROPERTY_TYPE_STRING = "string";
const std::string PROPERTY_TYPE_OBJECT = "object";

// Property units
const std::string PROPERTY_UNIT_MS = "ms";
const std::string PROPERTY_UNIT_DB = "dB";
const std::string PROPERTY_UNIT_PERCENT = "%";
const std::string PROPERTY_UNIT_HZ = "Hz";
const std::string PROPERTY_UNIT_SEMITONES = "semitones";
const std::string PROPERTY_UNIT_BPM = "BPM";
const std::string PROPERTY_UNIT_SAMPLES = "samples";
const std::string PROPERTY_UNIT_FRAMES = "frames";
const std::string PROPERTY_UNIT_CHANNELS = "channels";
const std::string PROPERTY_UNIT_BYTES = "bytes";
const std::string PROPERTY_UNIT_BITS = "bits";

// Node namespace
const std::string OSTRANA_NODE_NAMESPACE = "Ostrana";

// Node categories
const std::string NODE_CATEGORY_AUDIO_PROCESSING = "Audio Processing";
const std::string NODE_CATEGORY_MIXING = "Mixing";
const std::string NODE_CATEGORY_MUSIC = "Music";
const std::string NODE_CATEGORY_VOICE = "Voice";
const std::string NODE_CATEGORY_GENERATION = "Generation";
const std::string NODE_CATEGORY_ANALYSIS = "Analysis";
const std::string NODE_CATEGORY_EFFECTS = "Effects";
const std::string NODE_CATEGORY_UTILITY = "Utility";
const std::string NODE_CATEGORY_AI = "AI";
const std::string NODE_CATEGORY_RTC = "RTC";

// Object-type record keys
const std::string OBJECT_TYPE_FIELD_TYPE = "type";
const std::string OBJECT_TYPE_FIELD_SUBTYPE = "subtype";
const std::string OBJECT_TYPE_FIELD_DESCRIPTION = "description";
const std::string OBJECT_TYPE_FIELD_DISPLAY_NAME = "displayName";
const std::string OBJECT_TYPE_FIELD_CATEGORIES = "categories";
const std::string OBJECT_TYPE_FIELD_CONFIGURATION = "configuration";
const std::string OBJECT_TYPE_FIELD_PROPERTIES = "properties";
const std::string OBJECT_TYPE_FIELD_ACTIONS = "actions";
const std::string OBJECT_TYPE_FIELD_EVENTS = "events";

// Inheritance key
const std::string INHERITED_FROM_FIELD = "inheritedFrom";

}  // namespace ostrana
