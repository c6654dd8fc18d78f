#!/usr/bin/env ruby
# frozen_string_literal: true
# Copyright nobody. All rights reserved.

require "set"

=begin
Keeps books.
  Indented.
=end
module Books
  # How many fit.
  LIMIT = 64
  NAMES = %w[a b].freeze
  Error = Class.new(StandardError)
  first, SECOND = 1, 2

  # One line of the book.
  Entry = Struct.new(:side, :amount, keyword_init: true) do
    # Whether it takes.
    def debit?
      side == :debit
    end
  end

  ##
  # A book of entries,
  # in order.
  #
  # rubocop:disable Metrics/ClassLength
  class Ledger < Storage::Base
    include Enumerable
    # What is in it.
    attr_reader :entries, "owner", :"with blanks", *MORE
    attr_writer :secret
    private attr_accessor :state

    # Turns some pages.
    define_method(:turn) { |pages, by: 1| def lost; end }
    define_method "close!" do end
    define_method(name) { }
    private define_method(:reset, instance_method(:turn))
    define_singleton_method(:make) { |*args| new(*args) }

    Anonymous = Class.new(Base) { def inside; end }
    helper = Class.new { def lost; end }

    CACHE ||= {}

    # Opens it.
    def initialize(path, limit: LIMIT, **options, &block)
      const = 1
      @entries = [path, limit, options, block, const]
    end

    # Reads one.
    def self.open(path = "x") = new(path)

    def Ledger.close; end

    class << self
      # Makes one.
      private def build(*args)
        new(*args)
      end

      attr_accessor :root

      class Inner
        def deep; end
      end
    end

    def <=>(other)
      helper = ->(x) { x }
      define_method(:skipped) { helper }
      def skipped_too; end
    end

    def [](index) = @entries[index]

    def title=(text)
      @title = text
    end

    # Adds one.
    # @return [Ledger]
    protected def add entry, *rest
      self
    end

    module Shared; def share; end; end
  end

  class Ledger::Page
    def turn; end
  end
  Ledger::DEPTH = 3

  class_methods do
    def of(path) = nil
  end

  class ::Shelf
    def lift; end
  end
end

class ::Top
  def each
    yield 1
  end
end

# Adds numbers.
def total(
  items, # all of them
  tax: 0.2
)
  items.sum
end

def Books.all; end

def only
  def inside; end
end
def broken(
