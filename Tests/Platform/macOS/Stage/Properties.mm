#import "Tests/Platform/macOS/Stage/Properties.h"

#import <objc/runtime.h>

namespace quoxelin::stage {

namespace {

SEL setterOf(NSString* name) {
    NSString* const first = [name substringToIndex:1].uppercaseString;
    return NSSelectorFromString(
        [NSString stringWithFormat:@"set%@%@:", first, [name substringFromIndex:1]]);
}

SEL getterOf(NSString* name, NSString* getter) {
    return NSSelectorFromString(getter != nil ? getter : name);
}

const void* keyOf(NSString* name) {
    return sel_getName(NSSelectorFromString(name));
}

void addMethod(Class owner, SEL selector, id block, const char* types) {
    class_addMethod(owner, selector, imp_implementationWithBlock(block), types);
}

} // namespace

id associated(id object, const void* key) {
    return objc_getAssociatedObject(object, key);
}

void associate(id object, const void* key, id value) {
    objc_setAssociatedObject(object, key, value, OBJC_ASSOCIATION_RETAIN);
}

void keepObject(Class owner, NSString* name) {
    const void* const key = keyOf(name);
    addMethod(
        owner, getterOf(name, nil),
        ^id(id self) {
            return associated(self, key);
        },
        "@@:");
    addMethod(
        owner, setterOf(name),
        ^(id self, id value) {
            associate(self, key, value);
        },
        "v@:@");
}

void keepInteger(Class owner, NSString* name, NSString* getter) {
    const void* const key = keyOf(name);
    addMethod(
        owner, getterOf(name, getter),
        ^NSInteger(id self) {
            return [associated(self, key) integerValue];
        },
        "q@:");
    addMethod(
        owner, setterOf(name),
        ^(id self, NSInteger value) {
            associate(self, key, @(value));
        },
        "v@:q");
}

void keepFlag(Class owner, NSString* name, NSString* getter) {
    const void* const key = keyOf(name);
    addMethod(
        owner, getterOf(name, getter),
        ^BOOL(id self) {
            return [associated(self, key) boolValue];
        },
        "C@:");
    addMethod(
        owner, setterOf(name),
        ^(id self, BOOL value) {
            associate(self, key, @(value));
        },
        "v@:C");
}

void exchange(Class owner, SEL one, SEL other) {
    const Method first = class_getInstanceMethod(owner, one);
    const Method second = class_getInstanceMethod(owner, other);
    if (class_addMethod(owner, one, method_getImplementation(second),
                        method_getTypeEncoding(second)))
        class_replaceMethod(owner, other, method_getImplementation(first),
                            method_getTypeEncoding(first));
    else
        method_exchangeImplementations(first, second);
}

} // namespace quoxelin::stage
