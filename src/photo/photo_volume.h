// The volume that holds the photo share.
#pragma once

// Looks at the file system below the photo share and notes whether folder listings on it need checking.
void PhotoVolumeCheck(void);
