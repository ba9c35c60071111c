#pragma once

// Empty: the product uses only SMAppService, and declares it for SDKs that lack it.
#import <Foundation/Foundation.h>
