// The page with every widget: as text, as HTML, and as a browser shows and posts it.
import './text.js';
import './fields.js';
import './hostile.js';
