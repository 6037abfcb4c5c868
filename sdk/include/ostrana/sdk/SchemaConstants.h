#pragma once

#include <string>

// The words in which object types (node types among them) are described: the keys of a
// type record, of properties, configuration entries, actions and events, and the words for
// value types, units and node categories. Defined once, in libOstranaSDK, so that they are
// constructed before any extension library that uses them is initialised.

namespace ostrana {

// Action schema keys
extern const std::string ACTION_FIELD_NAME;
extern const std::string ACTION_FIELD_DESCRIPTION;
extern const std::string ACTION_FIELD_PARAMETERS;
extern const std::string ACTION_FIELD_RETURN_TYPE;
extern const std::string ACTION_FIELD_RETURN_DESCRIPTION;
extern const std::string ACTION_FIELD_HANDLER;

// Action parameter schema keys
extern const std::string ACTION_PARAMETER_FIELD_NAME;
extern const std::string ACTION_PARAMETER_FIELD_DESCRIPTION;
extern const std::string ACTION_PARAMETER_FIELD_TYPE;
extern const std::string ACTION_PARAMETER_FIELD_IS_OPTIONAL;

// Action parameter types
extern const std::string ACTION_PARAMETER_TYPE_BOOLEAN;
extern const std::string ACTION_PARAMETER_TYPE_FLOAT;
extern const std::string ACTION_PARAMETER_TYPE_INT;
extern const std::string ACTION_PARAMETER_TYPE_STRING;
extern const std::string ACTION_PARAMETER_TYPE_ARRAY;
extern const std::string ACTION_PARAMETER_TYPE_OBJECT;

// Action return types
extern const std::string ACTION_RETURN_TYPE_BOOLEAN;
extern const std::string ACTION_RETURN_TYPE_FLOAT;
extern const std::string ACTION_RETURN_TYPE_INT;
extern const std::string ACTION_RETURN_TYPE_STRING;
extern const std::string ACTION_RETURN_TYPE_ARRAY;
extern const std::string ACTION_RETURN_TYPE_OBJECT;

// Configuration entry keys
extern const std::string CONFIGURATION_FIELD_TYPE;
extern const std::string CONFIGURATION_FIELD_NAME;
extern const std::string CONFIGURATION_FIELD_DESCRIPTION;
extern const std::string CONFIGURATION_FIELD_DEFAULT;
extern const std::string CONFIGURATION_FIELD_MIN_VALUE;
extern const std::string CONFIGURATION_FIELD_MAX_VALUE;
extern const std::string CONFIGURATION_FIELD_OPTIONS;
extern const std::string CONFIGURATION_FIELD_VALUE;

// Configuration value types
extern const std::string CONFIGURATION_TYPE_BOOLEAN;
extern const std::string CONFIGURATION_TYPE_FLOAT;
extern const std::string CONFIGURATION_TYPE_INT;
extern const std::string CONFIGURATION_TYPE_STRING;
extern const std::string CONFIGURATION_TYPE_ARRAY;
extern const std::string CONFIGURATION_TYPE_OBJECT;

// Event schema keys
extern const std::string EVENT_FIELD_NAME;
extern const std::string EVENT_FIELD_DESCRIPTION;
extern const std::string EVENT_FIELD_DATA;

// Event data keys
extern const std::string EVENT_DATA_FIELD_NAME;
extern const std::string EVENT_DATA_FIELD_DESCRIPTION;
extern const std::string EVENT_DATA_FIELD_TYPE;

// Event data types
extern const std::string EVENT_DATA_TYPE_BOOLEAN;
extern const std::string EVENT_DATA_TYPE_FLOAT;
extern const std::string EVENT_DATA_TYPE_INT;
extern const std::string EVENT_DATA_TYPE_STRING;

// Property schema keys
extern const std::string PROPERTY_FIELD_TYPE;
extern const std::string PROPERTY_FIELD_NAME;
extern const std::string PROPERTY_FIELD_DESCRIPTION;
extern const std::string PROPERTY_FIELD_DEFAULT_VALUE;
extern const std::string PROPERTY_FIELD_UNIT;
extern const std::string PROPERTY_FIELD_MIN_VALUE;
extern const std::string PROPERTY_FIELD_MAX_VALUE;
extern const std::string PROPERTY_FIELD_OPTIONS;
extern const std::string PROPERTY_FIELD_READ_ONLY;
extern const std::string PROPERTY_FIELD_VALUE;
extern const std::string PROPERTY_FIELD_GETTER;
extern const std::string PROPERTY_FIELD_SETTER;

// Property types
extern const std::string PROPERTY_TYPE_BOOLEAN;
extern const std::string PROPERTY_TYPE_FLOAT;
extern const std::string PROPERTY_TYPE_INT;
extern const std::string PROPERTY_TYPE_STRING;
extern const std::string PROPERTY_TYPE_OBJECT;

// Property units
extern const std::string PROPERTY_UNIT_MS;
extern const std::string PROPERTY_UNIT_DB;
extern const std::string PROPERTY_UNIT_PERCENT;
extern const std::string PROPERTY_UNIT_HZ;
extern const std::string PROPERTY_UNIT_SEMITONES;
extern const std::string PROPERTY_UNIT_BPM;
extern const std::string PROPERTY_UNIT_SAMPLES;
extern const std::string PROPERTY_UNIT_FRAMES;
extern const std::string PROPERTY_UNIT_CHANNELS;
extern const std::string PROPERTY_UNIT_BYTES;
extern const std::string PROPERTY_UNIT_BITS;

// Node namespace
extern const std::string OSTRANA_NODE_NAMESPACE;

// Node categories
extern const std::string NODE_CATEGORY_AUDIO_PROCESSING;
extern const std::string NODE_CATEGORY_MIXING;
extern const std::string NODE_CATEGORY_MUSIC;
extern const std::string NODE_CATEGORY_VOICE;
extern const std::string NODE_CATEGORY_GENERATION;
extern const std::string NODE_CATEGORY_ANALYSIS;
extern const std::string NODE_CATEGORY_EFFECTS;
extern const std::string NODE_CATEGORY_UTILITY;
extern const std::string NODE_CATEGORY_AI;
extern const std::string NODE_CATEGORY_RTC;

// Object-type record keys
extern const std::string OBJECT_TYPE_FIELD_TYPE;
extern const std::string OBJECT_TYPE_FIELD_SUBTYPE;
extern const std::string OBJECT_TYPE_FIELD_DESCRIPTION;
extern const std::string OBJECT_TYPE_FIELD_DISPLAY_NAME;
extern const std::string OBJECT_TYPE_FIELD_CATEGORIES;
extern const std::string OBJECT_TYPE_FIELD_CONFIGURATION;
extern const std::string OBJECT_TYPE_FIELD_PROPERTIES;
extern const std::string OBJECT_TYPE_FIELD_ACTIONS;
extern const std::string OBJECT_TYPE_FIELD_EVENTS;

// Inheritance key
extern const std::string INHERITED_FROM_FIELD;

}  // namespace ostrana
