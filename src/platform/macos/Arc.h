#pragma once

// The Objective-C++ adapters leave the ownership of Objective-C objects to
// ARC (strong locals, members and block captures; no retain or release by
// hand) and hold Core Foundation references in CFRef. Without ARC every one
// of them would leak or dangle, so such a build stops here.
#if !__has_feature(objc_arc)
#error "The Objective-C++ adapters need ARC: compile them with -fobjc-arc"
#endif
