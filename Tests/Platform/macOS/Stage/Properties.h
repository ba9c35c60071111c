#pragma once

#import <Foundation/Foundation.h>

// What the categories of the stage need. An association is found by the address of its key.

namespace quoxelin::stage {

/// Gives a class a property that keeps an object, or a number under the name of its getter.
void keepObject(Class owner, NSString* name);
void keepInteger(Class owner, NSString* name, NSString* getter = nil);
void keepFlag(Class owner, NSString* name, NSString* getter = nil);

/// Exchanges two methods of a class, but not those that its siblings inherit, too.
void exchange(Class owner, SEL one, SEL other);

id associated(id object, const void* key);
void associate(id object, const void* key, id value);

} // namespace quoxelin::stage
