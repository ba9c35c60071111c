#pragma once

// Of this framework the product uses SMAppService alone, and declares it itself where it is not
// declared yet.
#import <Foundation/Foundation.h>
