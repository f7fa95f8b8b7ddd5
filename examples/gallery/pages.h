#pragma once

class Page;

// The pages; the window owns them.

Page* NewCopyPage();
Page* NewDesktopPage();
Page* NewDownloadPage();
Page* NewIconsPage();
/** From here on the library logs into this page. */
Page* NewLogPage();
