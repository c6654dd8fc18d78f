#!/usr/bin/env lua
-- Copyright nobody. All rights reserved.

local json = require("json")
local Account, other = {}, 1
Account.__index = Account

--- How many fit.
local LIMIT <const> = 64
Account.RATE = 0.2
local lower = 3

--[[ Opens an account.
  Indented.
]]
function Account.new(name, ...)
  local LOCAL = 1
  local function inner() end
  local self = setmetatable({ run = function() end }, Account)
  return self
end

--- Puts money in.
-- @param amount how much
function Account:deposit(amount --[[ in cents ]], note)
  self.balance = self.balance + amount
end

function Account.sub.deep:close() end

--------------------
-- Adds numbers.
--------------------
local function total(
  items,
  tax
)
  return 0
end

-- Halves it.
Account.half = function(x) return x / 2 end
local double, name = function(x) return x * 2 end, "double"
Account["skipped"] = function() end

--[==[ What the page calls. ]==]
local api = {
  -- Puts one in.
  put = function(item, count) return { deep = function() end } end,
  ["quoted"] = function() end,
  value = 1,
  nested = { reach = function() end },
}

local M = {}
--- What the module offers.
function M.offer(price) end
function M:renew() end
M.rates = setmetatable({ yearly = function(years) end }, { __call = function(self, rate) end })
local Shop = class("Shop", { sell = function(item) end })

local only = function() local function inside() end end
local function wrap() function inside() end end
_G.open_account = function(name) end

setup({ on_attach = function(client) function skipped() end end })

if jit then
  -- Only there.
  function fast() end
end

return {
  -- Closes all.
  close_all = function(accounts) end,
  fees = { monthly = function() end },
  new = Account.new,
}
