#pragma once

#import <Foundation/Foundation.h>

// Helpers for categories: properties and exchanged methods.

namespace quoxelin::stage {

/// Adds a property to a class. A number is stored under the name of its getter.
void keepObject(Class owner, NSString* name);
void keepInteger(Class owner, NSString* name, NSString* getter = nil);
void keepFlag(Class owner, NSString* name, NSString* getter = nil);

/// Exchanges two methods of a class without changing its superclass.
void exchange(Class owner, SEL one, SEL other);

id associated(id object, const void* key);
void associate(id object, const void* key, id value);

} // namespace quoxelin::stage
