#ifndef BROWSER_STANDARD_STREAMS_H_
#define BROWSER_STANDARD_STREAMS_H_

namespace browser {

/// Takes the place of standard streams that this process was started without, so that no other file
/// gets there: what is written to stdout fails then, as does reading stdin. Call first of all.
void fillStandardStreams();

}  // namespace browser

#endif
