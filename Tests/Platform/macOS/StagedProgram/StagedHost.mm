#include "Tests/Platform/macOS/StagedProgram/StagedHost.h"

#include "Platform/macOS/ObjC.h"

#import "Helper/macOS/QXHelperToolProtocol.h"
#import "Tests/Platform/macOS/Stage/StageAppKit.h"
#import "Tests/Platform/macOS/Stage/StageServices.h"
#include <cstdio>
#include <cstdlib>
#include <sstream>

/// A helper that records its commands and replies without output.
@interface QXStagedHelper : NSObject <HelperToolProtocol>
@property(readonly) NSMutableArray<NSString*>* commands;
@end

@implementation QXStagedHelper

- (instancetype)init {
    if ((self = [super init]))
        _commands = [NSMutableArray array];
    return self;
}

- (void)runGoToolWithPath:(NSString*)path
                arguments:(NSArray<NSString*>*)arguments
                withReply:(void (^)(NSString* output))reply {
    NSArray<NSString*>* const words = [@[ path ] arrayByAddingObjectsFromArray:arguments];
    dispatch_async(dispatch_get_main_queue(), ^{
        [self.commands addObject:[words componentsJoinedByString:@" "]];
        reply(@"");
    });
}

- (void)pingWithReply:(void (^)(BOOL isThere))reply {
    reply(YES);
}

@end

namespace quoxelin {

namespace {

void writeAnswer(const std::string& line) {
    std::fputs((line + '\n').c_str(), stdout);
    std::fflush(stdout);
}

json::Array texts(NSArray* items, NSString* path) {
    json::Array all;
    for (NSString* each in [items valueForKeyPath:path])
        all.push_back(toString(each));
    return all;
}

NSAppleEventDescriptor* eventWith(const std::optional<std::string>& directObject) {
    NSAppleEventDescriptor* const event = [[NSAppleEventDescriptor alloc] init];
    if (directObject)
        [event setParamDescriptor:[NSAppleEventDescriptor
                                      descriptorWithString:toNSString(*directObject)]
                       forKeyword:keyDirectObject];
    return event;
}

/// What other programs have sent before this one runs: a URL or "quit" a line.
void postEarlyEvents() {
    const char* const events = std::getenv("QUOXELIN_STAGED_EVENTS");
    std::istringstream lines(events != nullptr ? events : "");
    for (std::string line; std::getline(lines, line);)
        if (line == "quit")
            stage::postEvent(kCoreEventClass, kAEQuitApplication, eventWith(std::nullopt));
        else
            stage::postEvent(::kInternetEventClass, ::kAEGetURL, eventWith(line));
}

/// Commands for what the user does outside of the panel.
void addDesktopCommands(Steering& steering) {
    steering.addAction("click-status-item", [] { [stage::statusButton() mouseDown:nil]; });
    steering.addAction("click-elsewhere",
                       [] { stage::sendGlobalEvent(::NSEventMaskLeftMouseDown); });
    steering.add("open-url", [](SteeringReader& reader) {
        const auto url = reader.text("url");
        return doing(
            [url] { stage::sendEvent(::kInternetEventClass, ::kAEGetURL, eventWith(url)); });
    });
    steering.addAction("end-session", [] {
        stage::sendEvent(kCoreEventClass, kAEQuitApplication, eventWith(std::nullopt));
    });
    steering.addAction("become-active", [] {
        [[NSNotificationCenter defaultCenter]
            postNotificationName:(::NSApplicationDidBecomeActiveNotification)
                          object:NSApp];
    });
    steering.addState("open-panels", [] { return stage::isOpenPanelShown() ? 1 : 0; });
    steering.add("choose-folder", [](SteeringReader& reader) {
        const auto path = reader.requiredText("path");
        return [path](const SteeringReply& reply) {
            if (stage::answerOpenPanel(toFileURL(path)))
                reply.ok();
            else
                reply.fail("no open panel is shown");
        };
    });
}

/// Reports what the application did to the system.
void addReports(Steering& steering, QXStagedHelper* helper) {
    steering.addReport("opened", [] {
        return json::Object{{"urls", texts(stage::workspace().opened, @"absoluteString")}};
    });
    steering.addCount("urls", [] { return stage::workspace().opened.count; });
    steering.addReport("notifications", [] {
        json::Array delivered;
        for (::UNNotificationRequest* each in stage::notifications().added)
            delivered.push_back(json::Object{{"title", toString(each.content.title)},
                                             {"body", toString(each.content.body)}});
        return json::Object{{"delivered", std::move(delivered)}};
    });
    steering.addCount("notifications", [] { return stage::notifications().added.count; });
    steering.addReport("helper", [helper] {
        return json::Object{{"commands", texts(helper.commands, @"self")},
                            {"scripts", texts(stage::scripts(), @"self")}};
    });
    steering.addCount("scripts", [] { return stage::scripts().count; });
}

} // namespace

StagedHost::StagedHost(const LaunchOptions& options)
    : host(options), screen(static_cast<MacPanels&>(host.platform().panels)),
      steering(
          [this](Duration delay, Work work) {
              host.platform().dispatch.main().asyncAfter(delay, std::move(work));
          },
          writeAnswer) {
    QXStagedHelper* const helper = [[QXStagedHelper alloc] init];
    stage::machServices()[@"com.quoxelin.desktop.Helper"] = helper;
    // The user has already allowed the extension.
    stage::extensions().isApproved = true;
    addScreenCommands(steering, screen, host.platform());
    addDesktopCommands(steering);
    addReports(steering, helper);
    postEarlyEvents();
}

} // namespace quoxelin
