#include <dlfcn.h>

#include <algorithm>
#include <cctype>
#include <string_view>
#include <utility>

#include <ostrana/sdk/ExtensionManager.h>

namespace ostrana {

ExtensionManager::ExtensionManager() = default;

ExtensionManager::~ExtensionManager() = default;

ExtensionManager& ExtensionManager::getInstance() {
    static ExtensionManager instance;
    return instance;
}

Result<void> ExtensionManager::registerExtension(std::shared_ptr<Extension> extension) {
    if (!extension) return Result<void>::failure("[ExtensionManager] Cannot register no extension");
    RegistrationObserver observer;
    {
        std::lock_guard lock(mutex_);
        extensions_.push_back(extension);
        observer = observer_;
    }
    if (observer) observer(extension);
    return {};
}

std::vector<std::shared_ptr<Extension>> ExtensionManager::getExtensions() const {
    std::lock_guard lock(mutex_);
    return extensions_;
}

std::shared_ptr<Extension> ExtensionManager::findExtension(const std::string& name) const {
    for (const std::shared_ptr<Extension>& extension : getExtensions()) {
        if (extension->getName() == name) return extension;
    }
    return nullptr;
}

void ExtensionManager::setRegistrationObserver(RegistrationObserver observer) {
    std::lock_guard lock(mutex_);
    observer_ = std::move(observer);
}

Result<void> ExtensionManager::loadLibrary(const std::string& path) {
    if (dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL) != nullptr) return {};
    const char* message = dlerror();
    return Result<void>::failure("[ExtensionManager] Cannot load extension library '" + path +
                                 "': " + (message != nullptr ? message : "unknown error"));
}

std::vector<std::string> ExtensionManager::getNodeTypeNames() const {
    std::vector<std::string> names;
    for (const std::shared_ptr<Extension>& extension : getExtensions()) {
        for (const NodeTypeInfo& info : extension->getNodeFactory()->getNodeTypes()) {
            names.push_back(info.getFQTypeName());
        }
    }
    return names;
}

std::string ExtensionManager::unknownTypeMessage(const std::string& type) const {
    std::string known;
    for (const std::string& name : getNodeTypeNames()) known += (known.empty() ? "" : ", ") + name;
    return "[ExtensionManager] Unknown node type '" + type +
           "'; known types: " + (known.empty() ? "none" : known);
}

Result<NodeTypeInfo> ExtensionManager::findNodeType(const std::string& type) const {
    for (const std::shared_ptr<Extension>& extension : getExtensions()) {
        for (NodeTypeInfo& info : extension->getNodeFactory()->getNodeTypes()) {
            if (info.getFQTypeName() == type) return Result<NodeTypeInfo>(std::move(info));
        }
    }
    return Result<NodeTypeInfo>::failure(unknownTypeMessage(type));
}

namespace {

// A type name as people may write it: lower case, without '-', '_' or spaces, so that
// "ping-pong-delay", "PingPongDelay" and "pingpongdelay" compare equal.
std::string looseName(std::string_view name) {
    std::string loose;
    for (const char c : name) {
        if (c == '-' || c == '_' || c == ' ') continue;
        loose += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return loose;
}

// The fully qualified names among known that type names loosely, in full ("audioeffects.delay")
// or by the part after the prefix ("delay", "ping-pong-delay"), without repeats.
std::vector<std::string> looseMatches(const std::string& type,
                                      const std::vector<std::string>& known) {
    const std::string wanted = looseName(type);
    std::vector<std::string> matches;
    for (const std::string& name : known) {
        const std::size_t dot = name.rfind('.');
        const std::string_view subtype = dot == std::string::npos
                                             ? std::string_view(name)
                                             : std::string_view(name).substr(dot + 1);
        const bool matching = looseName(name) == wanted || looseName(subtype) == wanted;
        if (matching && std::find(matches.begin(), matches.end(), name) == matches.end()) {
            matches.push_back(name);
        }
    }
    return matches;
}

}  // namespace

Result<std::unique_ptr<Node>> ExtensionManager::createNode(const std::string& type,
                                                           const XVAnyMap& config) const {
    for (const std::shared_ptr<Extension>& extension : getExtensions()) {
        std::shared_ptr<NodeFactory> factory = extension->getNodeFactory();
        if (factory->hasNodeType(type)) return factory->createNode(type, config);
    }
    // Not a fully qualified name: a short one, or one in another case, names the one type it
    // matches. Two types that both match are refused rather than one picked.
    const std::vector<std::string> matches = looseMatches(type, getNodeTypeNames());
    if (matches.size() == 1) return createNode(matches.front(), config);
    if (matches.size() > 1) {
        std::string names;
        for (const std::string& name : matches) names += (names.empty() ? "" : ", ") + name;
        return Result<std::unique_ptr<Node>>::failure("[ExtensionManager] Node type '" + type +
                                                      "' is ambiguous: it may be " + names);
    }
    return Result<std::unique_ptr<Node>>::failure(unknownTypeMessage(type));
}

}  // namespace ostrana
