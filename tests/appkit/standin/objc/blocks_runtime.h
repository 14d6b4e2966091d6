#include <Block.h>  // where GNUstep looks for what another package holds
