#!/usr/bin/env node
/* Copyright nobody. All rights reserved. */
'use strict';
/**
 * @fileoverview What the page does,
 * slowly.
 * @license nobody's
 */
const fresh = () => 1;

const fs = require('fs');

/** How many fit. */
export const LIMIT = 12, other = { a: 1 };
const TAX_RATE = 0.2;
const local = 3;

/**
 * Adds up
 * the prices.
 * @returns {number}
 */
export async function total(items, { tax = true, ...rest } = {}) {
  const LOCAL = 1;
  function inside() {}
  return items.reduce((sum, item) => sum + item.price, 0);
}

export default function* walk(cart) { yield* cart; }

// Doubles a number.
const double = (x) => x * 2;
export const half = x => { const nested = () => 1; return x / 2; },
  swap = async function (a, b) { return [b, a]; };

/** Keeps items. */
@register
export class Cart extends mixin(Base) {
  #items = [];
  static { const INSIDE = () => 1; }
  /** Opens it. */
  constructor(items, limit = LIMIT) { super(); }
  get size() { return this.#items.length; }
  /** One by one. */
  *[Symbol.iterator]() {}
  static async of(...items) { return new Cart(items); }
  #check(item) {}
  onClick = (event) => { this.add(event); };
  static MOST = 64;
  static count = 0;
  handlers = { close() {} };
  Unnamed = class { lost() {} };
}

/** What the page calls. */
export const api = {
  /** Puts one in. */
  put(item, count = 1) { return { deep() {} }; },
  drop: async (item) => {},
  // What it shows.
  views: { list() {}, 'one-by-one': function (item) {}, 'no name!': () => 1, 7: () => 1 },
  value: 1,
  later: debounce((item) => {}, 300),
  total: () => total,
};
const shelves = { open() {} };
render({ notHere() {}, nor: { here() {} } });

/** Shows a row. */
const Row = React.memo(forwardRef(function Row({ item }, ref) { const inside = () => 1; }));
export const save = debounce(async (cart) => {}, 300);
const doubled = [1, 2].map((x) => x * 2), timer = setTimeout(() => {}, 3);
const cartStore = defineStore('cart', { actions: { load(id) {} } });

function View(props) { return <ul onClick={() => 1}>{props.items}</ul>; }

/** Shows it. */
Cart.prototype.show = function (where) { };
const Box = class extends Cart { open() {} };
Object.assign(Cart.prototype, { hide() {} });
window.cartApi = { ready() {} };
make().odd = function () {};
this.odd = function () {};
register(class { unnamed() {} });
function wrapping() { return function only() {} }
exports.open = (path) => fs.openSync(path);
module.exports = { total };
function unterminated( {
