#pragma once

#include <string>

#include <ostrana/sdk/Export.h>
#include <ostrana/sdk/LanguageVersion.h>

// The words in which object types (node types among them) are described: the keys of a
// type record, of properties, configuration entries, actions and events, and the words for
// value types, units and node categories. Defined once, in libOstranaSDK, so that they are
// constructed before any extension library that uses them is initialised.

namespace ostrana {

// Action schema keys
OSTRANA_SDK_EXPORT extern const std::string ACTION_FIELD_NAME;
OSTRANA_SDK_EXPORT extern const std::string ACTION_FIELD_DESCRIPTION;
OSTRANA_SDK_EXPORT extern const std::string ACTION_FIELD_PARAMETERS;
OSTRANA_SDK_EXPORT extern const std::string ACTION_FIELD_RETURN_TYPE;
OSTRANA_SDK_EXPORT extern const std::string ACTION_FIELD_RETURN_DESCRIPTION;
OSTRANA_SDK_EXPORT extern const std::string ACTION_FIELD_HANDLER;

// Action parameter schema keys
OSTRANA_SDK_EXPORT extern const std::string ACTION_PARAMETER_FIELD_NAME;
OSTRANA_SDK_EXPORT extern const std::string ACTION_PARAMETER_FIELD_DESCRIPTION;
OSTRANA_SDK_EXPORT extern const std::string ACTION_PARAMETER_FIELD_TYPE;
OSTRANA_SDK_EXPORT extern const std::string ACTION_PARAMETER_FIELD_IS_OPTIONAL;

// Action parameter types
OSTRANA_SDK_EXPORT extern const std::string ACTION_PARAMETER_TYPE_BOOLEAN;
OSTRANA_SDK_EXPORT extern const std::string ACTION_PARAMETER_TYPE_FLOAT;
OSTRANA_SDK_EXPORT extern const std::string ACTION_PARAMETER_TYPE_INT;
OSTRANA_SDK_EXPORT extern const std::string ACTION_PARAMETER_TYPE_STRING;
OSTRANA_SDK_EXPORT extern const std::string ACTION_PARAMETER_TYPE_ARRAY;
OSTRANA_SDK_EXPORT extern const std::string ACTION_PARAMETER_TYPE_OBJECT;

// Action return types
OSTRANA_SDK_EXPORT extern const std::string ACTION_RETURN_TYPE_BOOLEAN;
OSTRANA_SDK_EXPORT extern const std::string ACTION_RETURN_TYPE_FLOAT;
OSTRANA_SDK_EXPORT extern const std::string ACTION_RETURN_TYPE_INT;
OSTRANA_SDK_EXPORT extern const std::string ACTION_RETURN_TYPE_STRING;
OSTRANA_SDK_EXPORT extern const std::string ACTION_RETURN_TYPE_ARRAY;
OSTRANA_SDK_EXPORT extern const std::string ACTION_RETURN_TYPE_OBJECT;

// Configuration entry keys
OSTRANA_SDK_EXPORT extern const std::string CONFIGURATION_FIELD_TYPE;
OSTRANA_SDK_EXPORT extern const std::string CONFIGURATION_FIELD_NAME;
OSTRANA_SDK_EXPORT extern const std::string CONFIGURATION_FIELD_DESCRIPTION;
OSTRANA_SDK_EXPORT extern const std::string CONFIGURATION_FIELD_DEFAULT;
OSTRANA_SDK_EXPORT extern const std::string CONFIGURATION_FIELD_MIN_VALUE;
OSTRANA_SDK_EXPORT extern const std::string CONFIGURATION_FIELD_MAX_VALUE;
OSTRANA_SDK_EXPORT extern const std::string CONFIGURATION_FIELD_OPTIONS;
OSTRANA_SDK_EXPORT extern const std::string CONFIGURATION_FIELD_VALUE;

// Configuration value types
OSTRANA_SDK_EXPORT extern const std::string CONFIGURATION_TYPE_BOOLEAN;
OSTRANA_SDK_EXPORT extern const std::string CONFIGURATION_TYPE_FLOAT;
OSTRANA_SDK_EXPORT extern const std::string CONFIGURATION_TYPE_INT;
OSTRANA_SDK_EXPORT extern const std::string CONFIGURATION_TYPE_STRING;
OSTRANA_SDK_EXPORT extern const std::string CONFIGURATION_TYPE_ARRAY;
OSTRANA_SDK_EXPORT extern const std::string CONFIGURATION_TYPE_OBJECT;

// Event schema keys
OSTRANA_SDK_EXPORT extern const std::string EVENT_FIELD_NAME;
OSTRANA_SDK_EXPORT extern const std::string EVENT_FIELD_DESCRIPTION;
OSTRANA_SDK_EXPORT extern const std::string EVENT_FIELD_DATA;

// Event data keys
OSTRANA_SDK_EXPORT extern const std::string EVENT_DATA_FIELD_NAME;
OSTRANA_SDK_EXPORT extern const std::string EVENT_DATA_FIELD_DESCRIPTION;
OSTRANA_SDK_EXPORT extern const std::string EVENT_DATA_FIELD_TYPE;

// Event data types
OSTRANA_SDK_EXPORT extern const std::string EVENT_DATA_TYPE_BOOLEAN;
OSTRANA_SDK_EXPORT extern const std::string EVENT_DATA_TYPE_FLOAT;
OSTRANA_SDK_EXPORT extern const std::string EVENT_DATA_TYPE_INT;
OSTRANA_SDK_EXPORT extern const std::string EVENT_DATA_TYPE_STRING;

// Property schema keys
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_FIELD_TYPE;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_FIELD_NAME;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_FIELD_DESCRIPTION;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_FIELD_DEFAULT_VALUE;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_FIELD_UNIT;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_FIELD_MIN_VALUE;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_FIELD_MAX_VALUE;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_FIELD_OPTIONS;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_FIELD_READ_ONLY;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_FIELD_VALUE;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_FIELD_GETTER;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_FIELD_SETTER;

// Property types
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_TYPE_BOOLEAN;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_TYPE_FLOAT;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_TYPE_INT;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_TYPE_STRING;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_TYPE_OBJECT;

// Property units
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_UNIT_MS;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_UNIT_DB;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_UNIT_PERCENT;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_UNIT_HZ;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_UNIT_SEMITONES;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_UNIT_BPM;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_UNIT_SAMPLES;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_UNIT_FRAMES;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_UNIT_CHANNELS;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_UNIT_BYTES;
OSTRANA_SDK_EXPORT extern const std::string PROPERTY_UNIT_BITS;

// Node namespace
OSTRANA_SDK_EXPORT extern const std::string OSTRANA_NODE_NAMESPACE;

// Node categories
OSTRANA_SDK_EXPORT extern const std::string NODE_CATEGORY_AUDIO_PROCESSING;
OSTRANA_SDK_EXPORT extern const std::string NODE_CATEGORY_MIXING;
OSTRANA_SDK_EXPORT extern const std::string NODE_CATEGORY_MUSIC;
OSTRANA_SDK_EXPORT extern const std::string NODE_CATEGORY_VOICE;
OSTRANA_SDK_EXPORT extern const std::string NODE_CATEGORY_GENERATION;
OSTRANA_SDK_EXPORT extern const std::string NODE_CATEGORY_ANALYSIS;
OSTRANA_SDK_EXPORT extern const std::string NODE_CATEGORY_EFFECTS;
OSTRANA_SDK_EXPORT extern const std::string NODE_CATEGORY_UTILITY;
OSTRANA_SDK_EXPORT extern const std::string NODE_CATEGORY_AI;
OSTRANA_SDK_EXPORT extern const std::string NODE_CATEGORY_RTC;

// Object-type record keys
OSTRANA_SDK_EXPORT extern const std::string OBJECT_TYPE_FIELD_TYPE;
OSTRANA_SDK_EXPORT extern const std::string OBJECT_TYPE_FIELD_SUBTYPE;
OSTRANA_SDK_EXPORT extern const std::string OBJECT_TYPE_FIELD_DESCRIPTION;
OSTRANA_SDK_EXPORT extern const std::string OBJECT_TYPE_FIELD_DISPLAY_NAME;
OSTRANA_SDK_EXPORT extern const std::string OBJECT_TYPE_FIELD_CATEGORIES;
OSTRANA_SDK_EXPORT extern const std::string OBJECT_TYPE_FIELD_CONFIGURATION;
OSTRANA_SDK_EXPORT extern const std::string OBJECT_TYPE_FIELD_PROPERTIES;
OSTRANA_SDK_EXPORT extern const std::string OBJECT_TYPE_FIELD_ACTIONS;
OSTRANA_SDK_EXPORT extern const std::string OBJECT_TYPE_FIELD_EVENTS;

// Inheritance key
OSTRANA_SDK_EXPORT extern const std::string INHERITED_FROM_FIELD;

}  // namespace ostrana
