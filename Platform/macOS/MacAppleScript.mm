#include "Platform/macOS/MacAppleScript.h"

#include "Platform/macOS/ObjC.h"

namespace quoxelin {

namespace {

class Script final : public NSAppleScript {
  public:
    explicit Script(::NSAppleScript* script) : script(script) {}

    std::optional<std::string> executeAndReturnError() override {
        NSDictionary<NSString*, id>* information = nil;
        const auto called = withoutExceptions([&] { [script executeAndReturnError:&information]; });
        if (!called)
            return called.error().localizedDescription;
        if (information == nil)
            return std::nullopt;
        return toString(information.description);
    }

  private:
    ::NSAppleScript* script;
};

} // namespace

std::unique_ptr<NSAppleScript> MacAppleScript::initWithSource(const std::string& source) {
    ::NSAppleScript* const script = [[::NSAppleScript alloc] initWithSource:toNSString(source)];
    if (script == nil)
        return nullptr;
    return std::make_unique<Script>(script);
}

} // namespace quoxelin
