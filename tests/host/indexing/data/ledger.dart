// Copyright nobody. All rights reserved.

/// The books of a small shop.
library books.ledger;

import 'dart:async';

part 'entry.dart';

/// The most entries that one page holds.
const int pageSize = 64;
const currency = 'EUR', spare = 3;
const Map<String, int> codes = {'EUR': 1};
final Map<String, int> _cache = {};
int counter = 0;

/// Called for each entry.
typedef Visitor = void Function(Entry entry);
typedef int Compare(Entry a, Entry b);

/// Where an amount goes.
enum Side {
  debit('D'),
  credit('C');

  const Side(this.code);
  final String code;

  /// The other one.
  Side get other => this == debit ? credit : debit;
}

/// What adds amounts.
mixin Adding on Account implements Comparable<Account> {
  int total() => entries.fold(0, (sum, e) => sum + e.cents);
}

/// One account
/// with its entries.
@immutable
abstract class Account<T extends Object> extends Base<T> with Adding {
  static const int limit = 3;
  static final instances = <Account>[];
  final String name;

  /// Opens an account.
  Account(this.name, {required int id}) : _id = id;

  /// Reads one from JSON.
  Account.fromJson(Map<String, dynamic> json) : this(json['name'] as String, id: 1);
  const Account._internal(this.name);
  factory Account.empty() => _Empty();
  external factory Account.native(int id);

  /// The balance in cents.
  @override
  int get balance {
    int local(int a) => a;
    return local(1);
  }

  set balance(int value) {
    _balance = value;
  }

  // Adds an entry.
  Future<void> add(Entry entry, [int? at]) async {
    helper() {}
    await write(entry);
  }

  void close();
  static Account open<T>(String name) => Account(name, id: 2);
  @override
  bool operator ==(Object other) => other is Account && other.name == name;
  int operator [](int index) => entries[index];
}

sealed class Shape {}

class Both = Object with Adding;

/// Cents as text.
extension CentsText on int {
  String get asText => '${this / 100}';
}

extension on String {
  int get cents => 0;
}

extension type Id(int value) {
  int twice() => value * 2;
}

/// The sum of all.
int sum<T extends Account>(Iterable<T> accounts) {
  final (first, rest) = split(accounts);
  return switch (first) { null => 0, _ => first.balance + sum(rest) };
}

String get version => '1';
set version(String value) {}
void main(List<String> arguments) => print(sum([]));
external void nativeCall();
