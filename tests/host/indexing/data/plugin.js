"use strict";

/** Makes a plugin. */
module.exports = function (options = {}) {
  function inside() {}
};

/** Plugs in. */
module.exports = class Plugin extends require("./base") {
  apply(compiler) {}
};
exports.Other = class {
  run() {}
};

// What it may be told.
exports.options = {
  /** Reads one. */
  read(name) { return { skipped() {} }; },
  write: (name, value) => {},
  size: 3,
};

module.exports = {
  load: async function (path) {},
  unload() {},
};
Plugin.prototype = {
  constructor: Plugin,
  start(options) {},
};
/** Starts all. */
exports = module.exports = function startAll() {};
var stop = exports.stop = function (reason) {};

export default {
  /** What is shown. */
  data() {},
};
export default (options) => options;
