#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <ostrana/sdk/Export.h>
#include <ostrana/sdk/Extension.h>
#include <ostrana/sdk/LanguageVersion.h>
#include <ostrana/sdk/Node.h>
#include <ostrana/sdk/NodeTypeInfo.h>
#include <ostrana/sdk/Result.h>
#include <ostrana/sdk/XVAnyMap.h>

namespace ostrana {

// The process-wide registry of extensions. It owns every registered extension.
//
// Every registration is kept, in order, even when an extension of the same name was
// registered before: the later one is listed after the earlier, and lookups by name or by
// node type find the earliest. So a library whose entry point registers a second object of
// an already known extension leaves both visible to getExtensions().
//
// Registration, lookups and loading may be called from any control thread; they are
// serialised by a lock, and never belong on an audio thread.
class OSTRANA_SDK_EXPORT ExtensionManager {
  public:
    // Called after each registration, outside the lock, with the new extension. A host may
    // use the new extension at once, even while its library is still being loaded.
    using RegistrationObserver = std::function<void(const std::shared_ptr<Extension>&)>;

    static ExtensionManager& getInstance();

    ExtensionManager(const ExtensionManager&) = delete;
    ExtensionManager& operator=(const ExtensionManager&) = delete;

    // Keeps extension (an empty pointer is an error).
    Result<void> registerExtension(std::shared_ptr<Extension> extension);
    std::vector<std::shared_ptr<Extension>> getExtensions() const;
    // The earliest registered extension with this name, or an empty pointer.
    std::shared_ptr<Extension> findExtension(const std::string& name) const;
    void setRegistrationObserver(RegistrationObserver observer);

    // Loads an extension library; its load-time registration happens during the call.
    // A failure gives an error carrying the loader's own message. The library stays loaded
    // for the life of the process, since the extensions it registered run its code.
    Result<void> loadLibrary(const std::string& path);

    // The descriptor of a node type, by fully qualified name, across all extensions.
    Result<NodeTypeInfo> findNodeType(const std::string& type) const;
    // Fully qualified names of every node type of every extension, in registration order.
    std::vector<std::string> getNodeTypeNames() const;
    // Creates a node by fully qualified type name with the first extension that has it. A name
    // that is no type's exactly may name one loosely: in another case, without the prefix,
    // with '-' or '_' between words ("audioeffects.delay", "Delay", "ping-pong-delay"); a name
    // that loosely matches several types is refused.
    Result<std::unique_ptr<Node>> createNode(const std::string& type, const XVAnyMap& config) const;

  private:
    ExtensionManager();
    ~ExtensionManager();
    std::string unknownTypeMessage(const std::string& type) const;

    mutable std::mutex mutex_;
    std::vector<std::shared_ptr<Extension>> extensions_;
    RegistrationObserver observer_;
};

}  // namespace ostrana
