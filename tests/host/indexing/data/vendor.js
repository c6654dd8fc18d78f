// Scripts that hide what is theirs in functions.
(function (root, factory) {
  if (typeof define === 'function' && define.amd) define(['base'], factory);
  else root.Widgets = factory(root.Base);
}(this, function (Base) {
  var VERSION = '1.2';

  /** A widget. */
  function Widget(options) {
    var local = function () {};
  }
  Widget.prototype.draw = function (where) { function local() {} };

  var Slider = (function () {
    function Slider() {}
    Slider.prototype.slide = function (by) {};
    return Slider;
  })();
  Base.extend({ wide: function () {} });

  return {
    /** Makes one. */
    create: function (options) {},
  };
}));

var counter = (function () {
  let count = 0;
  const bump = (by) => { count += by; };
  return { next() {} };
})();

!async function () { function started() {} }();
(() => { function ready() {} })();
(function () { this.old = function () {}; function called() {} }).call(this);
(function (global, factory) {})(this, (function (exports) { exports.rolled = function () {}; }));
define('named', function (require, exports, module) { exports.amd = function () {}; });
$(function () { function onReady() {} });
describe('a test', function () { function local() {} });
